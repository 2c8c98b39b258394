#include "system/cleaner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>

#include "system/shell.h"
#include "system/trash.h"
#include "test_support.h"

namespace kelvane {
namespace {

using test::TempTree;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

// Names that break naive quoting, one family of shell metacharacters each.
const std::vector<std::string> nastyNames = {"it's",
                                             "say \"hi\"",
                                             "back\\slash",
                                             "$(touch PWNED)",
                                             "`touch PWNED`",
                                             "new\nline",
                                             "-rf",
                                             "'''",
                                             "\xFF\xFE not utf-8",
                                             "日本語 スペース",
                                             "*",
                                             "tab\there",
                                             "semi; touch PWNED"};

FileError cocoa(int code, int posixCause = 0) {
    return {FileError::cocoaDomain, code, "file error",
            posixCause ? std::make_shared<const FileError>(FileError::posix(posixCause)) : nullptr};
}

TEST(CleanerContents, ListsChildrenAsFullPathsAndNothingOnFailure) {
    TempTree dir;
    test::writeFile(dir / ".hidden", "");
    test::makeFolder(dir / "sub");
    std::vector<std::string> children = Cleaner::contents(dir.path());
    std::sort(children.begin(), children.end());
    EXPECT_THAT(children, ElementsAre(dir / ".hidden", dir / "sub"));
    EXPECT_THAT(Cleaner::contents(dir / "missing"), IsEmpty());
    EXPECT_THAT(Cleaner::contents(dir / ".hidden"), IsEmpty());
    const std::vector<std::string> root = Cleaner::contents("/");
    EXPECT_NE(std::find(root.begin(), root.end(), "/tmp"), root.end());
    EXPECT_TRUE(
        std::none_of(root.begin(), root.end(), [](auto& p) { return p.starts_with("//"); }));
}

TEST(CleanerDelete, KeepsOrderAndSizesTakenBeforeAndGoesOnPastFailures) {
    TempTree dir;
    test::writeFile(dir / "a", "aaa");
    test::makeFolder(dir / "c");
    test::writeFile(dir / "c/inner", "c");
    std::vector<std::string> asked;
    const auto sizeOf = [&](const std::string& path) {
        asked.push_back(path);
        return test::exists(path) ? std::int64_t(100 + asked.size()) : std::int64_t(-1);
    };
    const std::vector<std::string> paths = {dir / "a", dir / "missing", dir / "c"};
    const DeleteOutcome outcome = Cleaner::deleteItems(paths, true, sizeOf);
    EXPECT_EQ(asked, paths);
    ASSERT_EQ(outcome.deleted.size(), 2u);
    EXPECT_EQ(outcome.deleted[0].path, dir / "a");
    EXPECT_EQ(outcome.deleted[0].size, 101);  // measured while it still existed
    EXPECT_EQ(outcome.deleted[1].path, dir / "c");
    EXPECT_EQ(outcome.deleted[1].size, 103);
    ASSERT_EQ(outcome.failures.size(), 1u);
    EXPECT_EQ(outcome.failures[0].path, dir / "missing");
    EXPECT_EQ(Cleaner::underlyingErrno(outcome.failures[0].error), ENOENT);
    EXPECT_FALSE(test::exists(dir / "a") || test::exists(dir / "c"));

    const DeleteOutcome none = Cleaner::deleteItems({}, false, sizeOf);
    EXPECT_TRUE(none.deleted.empty() && none.failures.empty());
    EXPECT_EQ(asked.size(), 3u);
}

TEST(CleanerDelete, DeletingATrashedItemForGoodTakesItsInfoFileAndNothingElse) {
    TempTree dir;
    const test::ScopedEnv data("XDG_DATA_HOME", dir / "data");
    const std::string trash = dir / "data/Trash";
    test::makeFolder(dir / "gone");
    test::writeFile(dir / "gone/inner", "x");
    test::makeFolder(dir / "kept");
    test::writeFile(dir / "kept/inner", "x");
    ASSERT_FALSE(Trash::moveToTrash(dir / "gone"));
    ASSERT_FALSE(Trash::moveToTrash(dir / "kept"));
    // Same names outside the trash, an item without info, info without item.
    test::writeFile(dir / "kept", "not trashed");
    test::writeFile(trash + "/files/no-info", "x");
    test::writeFile(trash + "/info/no-item.trashinfo", "[Trash Info]\n");
    const auto sizeOf = [](const std::string&) { return std::int64_t(1); };

    const DeleteOutcome outcome =
        Cleaner::deleteItems({trash + "/files/gone", trash + "/files/kept/inner", dir / "kept",
                              trash + "/files/no-info", trash + "/files/no-item"},
                             true, sizeOf);
    EXPECT_EQ(outcome.deleted.size(), 4u);
    ASSERT_EQ(outcome.failures.size(), 1u);
    EXPECT_EQ(outcome.failures[0].path, trash + "/files/no-item");

    EXPECT_FALSE(test::exists(trash + "/files/gone"));
    EXPECT_FALSE(test::exists(trash + "/info/gone.trashinfo"));
    // Something inside a trashed folder, or a namesake elsewhere, is not the
    // trashed item: its info file stays.
    EXPECT_TRUE(test::exists(trash + "/files/kept"));
    EXPECT_TRUE(test::exists(trash + "/info/kept.trashinfo"));
    // A failed deletion touches nothing.
    EXPECT_TRUE(test::exists(trash + "/info/no-item.trashinfo"));

    // Moving to the trash never removes info files.
    test::writeFile(dir / "again", "x");
    const DeleteOutcome moved = Cleaner::deleteItems({dir / "again"}, false, sizeOf);
    EXPECT_TRUE(moved.failures.empty());
    EXPECT_TRUE(test::exists(trash + "/info/again.trashinfo"));
}

TEST(CleanerDelete, OnlyItemsDirectlyInTheFilesFolderHaveAnInfoFile) {
    const std::string t = "/d/Trash";
    EXPECT_EQ(Trash::infoFileOf(t, "/d/Trash/files/a b"), "/d/Trash/info/a b.trashinfo");
    EXPECT_EQ(Trash::infoFileOf(t, "/d/Trash/files/.hidden"), "/d/Trash/info/.hidden.trashinfo");
    for (const char* other : {"/d/Trash/files", "/d/Trash/files/", "/d/Trash/files/a/b",
                              "/d/Trash/filesX/a", "/d/Trash/info/a", "/d/Trash/files/..",
                              "/d/Trash/files/.", "/e/Trash/files/a", "relative/files/a"}) {
        EXPECT_EQ(Trash::infoFileOf(t, other), std::nullopt) << other;
    }
}

TEST(CleanerClassification, ThePosixCauseDecidesFirstThenTheFileDomainCode) {
    DeleteOutcome outcome;
    outcome.failures = {
        {"/eperm-wrapped", cocoa(FileError::writeNoPermission, EPERM)},
        {"/eacces-wrapped", cocoa(FileError::writeUnknown, EACCES)},
        {"/513", cocoa(FileError::writeNoPermission)},
        {"/257", cocoa(FileError::readNoPermission)},
        {"/642", cocoa(FileError::writeVolumeReadOnly)},
        {"/513-over-enoent", cocoa(FileError::writeNoPermission, ENOENT)},
        {"/posix-eperm", FileError::posix(EPERM)},
        {"/other-domain-513", {"OtherDomain", 513, "", nullptr}},
    };
    EXPECT_THAT(outcome.protectedPaths(), ElementsAre("/eperm-wrapped", "/posix-eperm"));
    EXPECT_THAT(outcome.permissionDenied(), ElementsAre("/eacces-wrapped", "/513", "/257", "/642"));

    // The cause is found at any depth.
    const FileError twice{FileError::cocoaDomain, 4, "",
                          std::make_shared<const FileError>(cocoa(512, EROFS))};
    EXPECT_EQ(Cleaner::underlyingErrno(twice), EROFS);
    EXPECT_EQ(Cleaner::underlyingErrno(cocoa(513)), std::nullopt);
}

TEST(CleanerAdmin, OneQuotedRmForTheBatchAndNothingForAnEmptyOne) {
    EXPECT_EQ(Cleaner::adminCommand({"/tmp/a b", "/tmp/it's"}),
              "/bin/rm -rf '/tmp/a b' '/tmp/it'\\''s'");
    // No password prompt for nothing (pkexec is not even installed here, so
    // running anything would fail).
    const ShellResult nothing = Cleaner::deleteAsAdmin({});
    EXPECT_EQ(nothing.status, 0);
    EXPECT_EQ(nothing.out + nothing.err, "");
}

TEST(CleanerAdmin, NastyPathsSurviveBothQuotingLayersByteForByte) {
    TempTree dir;
    std::vector<std::string> paths;
    std::string expected;
    for (const std::string& name : nastyNames) {
        paths.push_back(dir / name);
        expected += paths.back() + '\0';
    }
    const std::string command = Cleaner::adminCommand(paths);
    const std::string rm = "/bin/rm -rf ";
    ASSERT_EQ(command.substr(0, rm.size()), rm);
    // A harmless program in place of rm writes the arguments it received to
    // a file, raw bytes and all.
    const ShellResult r = test::sh("printf '%s\\0' " + command.substr(rm.size()) + " > " +
                                   Cleaner::shellQuoted(dir / "argv"));
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(test::readFile(dir / "argv"), expected);
    EXPECT_FALSE(test::exists(dir / "PWNED"));

    // The AppleScript string literal decodes back to the very same command.
    const std::string script = Shell::appleScript(command);
    const std::string head = "do shell script \"", tail = "\" with administrator privileges";
    ASSERT_TRUE(script.starts_with(head) && script.ends_with(tail));
    std::string decoded;
    for (std::size_t i = head.size(); i < script.size() - tail.size(); ++i) {
        ASSERT_NE(script[i], '"') << "unescaped quote at " << i;
        if (script[i] == '\\') ++i;
        decoded += script[i];
    }
    EXPECT_EQ(decoded, command);
}

TEST(CleanerAdmin, TheRealCommandRemovesExactlyTheNastyPaths) {
    TempTree dir;
    std::vector<std::string> paths;
    for (const std::string& name : nastyNames) {
        test::writeFile(dir / name, "x");
        paths.push_back(dir / name);
    }
    test::writeFile(dir / "bystander", "keep");
    // The whole administrator path with a pass-through in place of pkexec.
    const std::string elevator = test::writeScript(dir.path(), "elevator", "exec \"$@\"");
    const ShellResult r = Shell::adminVia(elevator, Cleaner::adminCommand(paths));
    EXPECT_EQ(r.status, 0) << r.err;
    for (const std::string& p : paths) EXPECT_FALSE(test::exists(p)) << p;
    EXPECT_TRUE(test::exists(dir / "bystander"));
    EXPECT_FALSE(test::exists(dir / "PWNED"));
}

}  // namespace
}  // namespace kelvane
