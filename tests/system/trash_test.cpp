#include "system/trash.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <regex>
#include <sstream>

#include "system/cleaner.h"
#include "system/shell.h"
#include "test_support.h"

namespace kelvane {
namespace {

using test::exists;
using test::readFile;
using ::testing::HasSubstr;

std::int64_t noSize(const std::string&) {
    return 0;
}

// Every test gets a home trash of its own; trash-cli, run as a child,
// inherits the same XDG_DATA_HOME.
class HomeTrash : public ::testing::Test {
  protected:
    test::TempTree dir;
    test::ScopedEnv home{"HOME", dir / "home"};
    test::ScopedEnv data{"XDG_DATA_HOME", dir / "data"};
    std::string trash = dir / "data/Trash";
    std::string work = dir / "work";
    void SetUp() override { test::makeFolder(work); }
};

TEST_F(HomeTrash, InfoComesFirstAndNamesStayUniqueWithoutOverwriting) {
    test::makeFolder(work + "/a");
    test::makeFolder(work + "/b");
    test::writeFile(work + "/a/same", "first");
    test::writeFile(work + "/b/same", "second");
    // A leftover in files/ without its info must not be overwritten.
    for (const char* f : {"/data", "/data/Trash", "/data/Trash/files"}) test::makeFolder(dir / f);
    test::writeFile(trash + "/files/same.2", "orphan");

    const DeleteOutcome outcome =
        Cleaner::deleteItems({work + "/a/same", work + "/b/same"}, false, noSize);
    ASSERT_TRUE(outcome.failures.empty()) << outcome.failures[0].error.description;
    EXPECT_EQ(readFile(trash + "/files/same"), "first");
    EXPECT_EQ(readFile(trash + "/files/same.2"), "orphan");
    EXPECT_EQ(readFile(trash + "/files/same.3"), "second");
    EXPECT_FALSE(exists(trash + "/info/same.2.trashinfo"));

    const std::regex shape(
        "\\[Trash Info\\]\nPath=(.*)\nDeletionDate=\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d\n");
    std::smatch match;
    const std::string info = readFile(trash + "/info/same.3.trashinfo");
    ASSERT_TRUE(std::regex_match(info, match, shape)) << info;
    EXPECT_EQ(match[1].str(), work + "/b/same");
}

TEST_F(HomeTrash, PathKeepsEveryByteOfTheNamePercentEncoded) {
    const char raw[] = "/a b/日%\n\0~_-.";
    EXPECT_EQ(Trash::percentEncoded(std::string(raw, sizeof raw - 1)),
              "/a%20b/%E6%97%A5%25%0A%00~_-.");
    const std::string name = "bad\xFF\xFEname";
    test::writeFile(work + "/" + name, "bytes");
    ASSERT_EQ(Trash::moveToTrash(work + "/" + name), std::nullopt);
    EXPECT_EQ(readFile(trash + "/files/" + name), "bytes");
    EXPECT_THAT(readFile(trash + "/info/" + name + ".trashinfo"),
                HasSubstr("\nPath=" + Trash::percentEncoded(work) + "/bad%FF%FEname\n"));
}

TEST_F(HomeTrash, TrashesALinkNotItsTargetAndFailuresLeaveNoInfoBehind) {
    test::writeFile(work + "/target", "keep");
    ASSERT_EQ(symlink((work + "/target").c_str(), (work + "/link").c_str()), 0);
    EXPECT_EQ(Trash::moveToTrash(work + "/link"), std::nullopt);
    struct stat st {};
    ASSERT_EQ(lstat((trash + "/files/link").c_str(), &st), 0);
    EXPECT_TRUE(S_ISLNK(st.st_mode));
    EXPECT_EQ(readFile(work + "/target"), "keep");

    const auto missing = Trash::moveToTrash(work + "/missing");
    ASSERT_TRUE(missing);
    EXPECT_EQ(Cleaner::underlyingErrno(*missing), ENOENT);
    const auto dot = Trash::moveToTrash(work + "/.");
    ASSERT_TRUE(dot);
    EXPECT_EQ(Cleaner::underlyingErrno(*dot), EINVAL);
    EXPECT_EQ(Cleaner::contents(trash + "/info").size(), 1u);
}

TEST_F(HomeTrash, TrashCliListsAndRestoresWhatWeTrashed) {
    if (!exists("/usr/bin/trash-list") || !exists("/usr/bin/trash-restore")) {
        GTEST_SKIP() << "trash-cli is not installed";
    }
    const std::string spaced = work + "/with space.txt", japanese = work + "/日本語のフォルダ";
    test::writeFile(spaced, "spaced");
    test::makeFolder(japanese);
    test::writeFile(japanese + "/中身", "inside");
    ASSERT_EQ(Cleaner::deleteItems({spaced, japanese}, false, noSize).deleted.size(), 2u);

    const ShellResult listed = test::sh("/usr/bin/trash-list");
    ASSERT_EQ(listed.status, 0) << listed.err;
    const std::regex line("\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d (.*)");
    std::vector<std::string> shown;
    std::istringstream lines(listed.out);
    for (std::string l; std::getline(lines, l);) {
        // Other volumes' trashes are listed too; only ours matter here.
        std::smatch m;
        if (std::regex_match(l, m, line) && m[1].str().starts_with(work)) shown.push_back(m[1]);
    }
    EXPECT_THAT(shown, ::testing::UnorderedElementsAre(spaced, japanese)) << listed.out;

    for (const std::string& original : {spaced, japanese}) {
        const ShellResult restored =
            test::sh("cd " + Shell::quoted(work) + " && echo 0 | /usr/bin/trash-restore " +
                     Shell::quoted(original));
        EXPECT_EQ(restored.status, 0) << restored.out << restored.err;
    }
    EXPECT_EQ(readFile(spaced), "spaced");
    EXPECT_EQ(readFile(japanese + "/中身"), "inside");
    EXPECT_TRUE(Cleaner::contents(trash + "/files").empty());
}

}  // namespace
}  // namespace kelvane
