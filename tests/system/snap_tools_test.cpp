#include "system/snap_tools.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "test_support.h"

namespace kelvane {
namespace {

using ::testing::IsEmpty;

// `snap list --all` as snapd 2.57 printed it with two disabled revisions of
// one package (recorded with a locally installed base snap).
constexpr const char* kRecordedList =
    "Name          Version       Rev  Tracking  Publisher  Notes\n"
    "kvother-base  2024.01+git1  x1   -         -          base\n"
    "kvtestbase    1.1           x2   -         -          base,disabled\n"
    "kvtestbase    1.2           x3   -         -          base,disabled\n"
    "kvtestbase    1.3           x4   -         -          base\n";

TEST(SnapParse, KeepsOnlyDisabledRevisions) {
    const std::vector<SimRuntime> found = SnapTools::parseDisabled(
        std::string(kRecordedList) +
        // A store snap: unasserted notes words, publisher marks, a revision
        // whose notes only contain "disabled" as part of another word.
        "core22        20240111      1122  latest/stable  canonical**  base,disabled\n"
        "firefox       121.0         3600  latest/stable  mozilla**    -\n"
        "odd           1             7     -              -            not-disabled\n"
        "short         1             8     disabled\n");
    ASSERT_EQ(found.size(), 3u);
    const SimRuntime x2{
        "kvtestbase", "kvtestbase 1.1 (リビジョン x2)", "1.1", "x2", "Snap", 0, "", {}, true};
    EXPECT_EQ(found[0], x2);
    EXPECT_EQ(found[1].build, "x3");
    EXPECT_EQ(found[2].name, "core22 20240111 (リビジョン 1122)");
    EXPECT_EQ(SnapTools::removeCommand(found[2]),
              (ToolCommand{"/usr/bin/snap", {"remove", "core22", "--revision=1122"}}));
}

// A stand-in for snap prints the recorded table; the sizes come from real
// revision files in a snaps folder of our own.
TEST(SnapList, SizesRevisionsByTheirFilesLargestFirst) {
    test::TempTree dir;
    const std::string snaps = dir / "snaps";
    test::writeFileOfSize(snaps + "/kvtestbase_x2.snap", 151552);
    test::writeFileOfSize(snaps + "/kvtestbase_x3.snap", 204800);
    test::writeFileOfSize(snaps + "/kvtestbase_x4.snap", 409600);  // the current one
    test::writeFile(dir / "list.txt", kRecordedList);
    const std::string snap = test::writeScript(
        dir.path(), "snap",
        "[ \"$*\" = 'list --all --color=never --unicode=never' ] || exit 3\ncat " +
            (dir / "list.txt"));
    // Any file stands for snapd's socket: only its presence is looked at.
    const std::string socket = dir / "snapd.socket";
    test::writeFile(socket, "");
    std::vector<SimRuntime> listed = SnapTools::list(snap, snaps, socket);
    ASSERT_EQ(listed.size(), 2u);
    EXPECT_EQ(listed[0].build, "x3");
    EXPECT_EQ(listed[0].sizeBytes, test::allocated(snaps + "/kvtestbase_x3.snap"));
    EXPECT_EQ(listed[1].sizeBytes, test::allocated(snaps + "/kvtestbase_x2.snap"));
    EXPECT_GT(listed[1].sizeBytes, 0);
    // A revision whose file is not there is still offered, without a size.
    listed = SnapTools::list(snap, dir / "elsewhere", socket);
    ASSERT_EQ(listed.size(), 2u);
    EXPECT_EQ(listed[0].sizeBytes + listed[1].sizeBytes, 0);

    // A failing tool, no tool, and no snapd socket (the tool is not even
    // started, so the table it would print does not show) list nothing.
    const std::string down = test::writeScript(
        dir.path(), "snap-down",
        "echo 'error: cannot list snaps: cannot communicate with server' >&2; exit 1");
    EXPECT_THAT(SnapTools::list(down, snaps, socket), IsEmpty());
    EXPECT_THAT(SnapTools::list(dir / "missing", snaps, socket), IsEmpty());
    EXPECT_THAT(SnapTools::list(snap, snaps, dir / "no-socket"), IsEmpty());
}

}  // namespace
}  // namespace kelvane
