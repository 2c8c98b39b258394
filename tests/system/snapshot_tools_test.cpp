#include "system/snapshot_tools.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "test_support.h"

namespace kelvane {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(SnapshotParse, KeepsSnapshotLinesInOrderAndSkipsEverythingElse) {
    EXPECT_THAT(SnapshotTools::parseList("Snapshots for disk /:\n"
                                         "com.apple.TimeMachine.2024-05-01-103015.local\n"
                                         "com.apple.TimeMachine.2024-05-02-090000.local\n\n"),
                ElementsAre("2024-05-01-103015", "2024-05-02-090000"));
    EXPECT_THAT(
        SnapshotTools::parseList("Snapshots for volume group containing disk /:\n"
                                 "com.apple.TimeMachine.2024-05-02-090000\n"
                                 "  \t com.apple.TimeMachine.2024-05-03-000000.local \u00A0\u3000\n"
                                 "com.apple.TimeMachine.2024-05-04-000000.local (dataless)\n"
                                 "xcom.apple.TimeMachine.2024-05-05-000000.local\n"
                                 "com.apple.TimeMachine.\n"
                                 "com.apple.TimeMachine.2024.local.local"),
        ElementsAre("2024-05-02-090000", "2024-05-03-000000", "2024-05-04-000000.local (dataless)",
                    "", "2024.local"));
    EXPECT_THAT(SnapshotTools::parseList("\n\n"), IsEmpty());
}

TEST(SnapshotList, RunsTheToolAndReadsOnlyItsOutput) {
    test::TempTree dir;
    // Prints its arguments as a snapshot so the exact call is visible, and
    // fails, which list must not care about.
    const std::string tool = test::writeScript(
        dir.path(), "tmutil",
        "echo 'Snapshots for disk /:'; echo \"com.apple.TimeMachine.$1|$2.local\"; "
        "echo 'com.apple.TimeMachine.noise' >&2; exit 1");
    EXPECT_THAT(SnapshotTools::list(tool), ElementsAre("listlocalsnapshots|/"));
    EXPECT_THAT(SnapshotTools::list(dir / "missing"), IsEmpty());
}

TEST(SnapshotDelete, OneQuotedCommandPerDateJoinedBySemicolons) {
    EXPECT_EQ(SnapshotTools::deleteCommand({"2024-05-01-103015"}),
              "/usr/bin/tmutil deletelocalsnapshots '2024-05-01-103015'");
    EXPECT_EQ(SnapshotTools::deleteCommand({"2024-05-01-103015", "2024-05-02-090000", "it's"}),
              "/usr/bin/tmutil deletelocalsnapshots '2024-05-01-103015'; "
              "/usr/bin/tmutil deletelocalsnapshots '2024-05-02-090000'; "
              "/usr/bin/tmutil deletelocalsnapshots 'it'\\''s'");
    const ShellResult nothing = SnapshotTools::deleteSnapshot({});
    EXPECT_EQ(nothing.status, 0);
    EXPECT_EQ(nothing.out + nothing.err, "");
}

}  // namespace
}  // namespace kelvane
