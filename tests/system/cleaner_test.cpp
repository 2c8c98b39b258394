#include "system/cleaner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>

#include "system/admin_protocol.h"
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

TEST(CleanerClassification, OnlyImmutableItemsAreProtectedAndEveryOtherRefusalOfRightsIsDenied) {
    DeleteOutcome outcome;
    outcome.failures = {
        {"/immutable", FileError::refusal(FileError::immutable, EPERM)},
        {"/sticky-eperm", FileError::fromErrno(EPERM)},
        {"/eacces-wrapped", cocoa(FileError::writeUnknown, EACCES)},
        {"/513", cocoa(FileError::writeNoPermission)},
        {"/257", cocoa(FileError::readNoPermission)},
        {"/642", cocoa(FileError::writeVolumeReadOnly)},
        {"/513-over-enoent", cocoa(FileError::writeNoPermission, ENOENT)},
        {"/mount-point", FileError::refusal(FileError::mountPoint)},
        {"/no-trash", FileError::refusal(FileError::noUsableTrash, EACCES)},
        {"/other-domain-513", {"OtherDomain", 513, "", nullptr}},
    };
    EXPECT_THAT(outcome.protectedPaths(), ElementsAre("/immutable"));
    // A volume without a trash is not a matter of rights: root could not
    // trash it either, and the user's own permanent deletion works.
    EXPECT_THAT(outcome.permissionDenied(),
                ElementsAre("/sticky-eperm", "/eacces-wrapped", "/513", "/257", "/642"));

    // The cause is found at any depth.
    const FileError twice{FileError::cocoaDomain, 4, "",
                          std::make_shared<const FileError>(cocoa(512, EROFS))};
    EXPECT_EQ(Cleaner::underlyingErrno(twice), EROFS);
    EXPECT_EQ(Cleaner::underlyingErrno(cocoa(513)), std::nullopt);
}

TEST(AdminProtocol, AnswersNamePathsByPositionAndAnythingUnansweredFailed) {
    const std::vector<std::string> paths = {"/a", "/b\nc", "/d", "/e", "/f"};
    EXPECT_EQ(AdminProtocol::decodeRequest(AdminProtocol::encodeRequest(paths)), paths);
    const std::string answer = AdminProtocol::encodeResult(0, std::nullopt) +
                               AdminProtocol::encodeResult(1, FileError::fromErrno(EBUSY)) +
                               AdminProtocol::encodeResult(
                                   2, FileError::refusal(FileError::immutable, EPERM)) +
                               "ok 1\n"    // a second answer for a path changes nothing
                               "ok 9\n"    // no such path
                               "bogus 3\n" // not an answer
                               "ok 4";     // cut off: the helper died mid-line
    const DeleteOutcome outcome = AdminProtocol::decodeResults(paths, answer);
    ASSERT_EQ(outcome.deleted.size(), 1u);
    EXPECT_EQ(outcome.deleted[0].path, "/a");
    ASSERT_EQ(outcome.failures.size(), 4u);
    EXPECT_EQ(Cleaner::underlyingErrno(outcome.failures[0].error), EBUSY);
    EXPECT_THAT(outcome.protectedPaths(), ElementsAre("/d"));
    for (std::size_t i : {2u, 3u}) {
        EXPECT_TRUE(outcome.failures[i].error.isRefusal(FileError::notReported)) << i;
    }
}

TEST(CleanerAdmin, NothingToDeleteAsksForNothing) {
    // pkexec is not even installed here: running anything would fail.
    const AdminDeleteResult nothing = Cleaner::deleteAsAdmin({});
    EXPECT_EQ(nothing.run.status, 0);
    EXPECT_EQ(nothing.run.out + nothing.run.err, "");
    EXPECT_TRUE(nothing.outcome.deleted.empty() && nothing.outcome.failures.empty());
}

TEST(CleanerAdmin, TheHelperDeletesExactlyTheNastyPathsOfAHugeBatch) {
    TempTree dir;
    std::vector<std::string> paths;
    for (const std::string& name : nastyNames) {
        test::writeFile(dir / name, "x");
        paths.push_back(dir / name);
    }
    // 5,000 paths of 200 bytes: far beyond what one argument may hold.
    test::makeFolder(dir / "many");
    for (int i = 0; i < 5000; ++i) {
        std::string name = std::to_string(i);
        name.resize(200 - (dir / "many/").size(), 'n');
        test::writeFile(dir / "many/" + name, "");
        paths.push_back(dir / "many/" + name);
    }
    test::writeFile(dir / "bystander", "keep");
    // The whole administrator path with a pass-through in place of pkexec.
    const std::string elevator = test::writeScript(dir.path(), "elevator", "exec \"$@\"");
    const AdminDeleteResult r = Cleaner::deleteAsAdminVia(elevator, KELVANE_TEST_ADMIN_HELPER, paths);
    EXPECT_EQ(r.run.status, 0) << r.run.err;
    EXPECT_EQ(r.outcome.deleted.size(), paths.size());
    EXPECT_TRUE(r.outcome.failures.empty());
    for (const std::string& p : paths) EXPECT_FALSE(test::exists(p)) << p;
    EXPECT_TRUE(test::exists(dir / "bystander"));
    EXPECT_FALSE(test::exists(dir / "PWNED"));
}

TEST(CleanerAdmin, ElevationThatDoesNotHappenDeletesNothing) {
    TempTree dir;
    test::writeFile(dir / "kept", "x");
    const std::vector<std::string> paths = {dir / "kept"};
    struct Case {
        std::string elevator;
        bool missing;
        std::string errHas;
    } cases[] = {
        {test::writeScript(dir.path(), "dismissed", "exit 126"), false, "-128"},
        {test::writeScript(dir.path(), "no-agent", "echo 'Error getting authority' >&2; exit 127"),
         false, "認証"},
        {dir / "no-pkexec", true, "pkexec"},
    };
    for (const Case& c : cases) {
        const AdminDeleteResult r =
            Cleaner::deleteAsAdminVia(c.elevator, KELVANE_TEST_ADMIN_HELPER, paths);
        EXPECT_NE(r.run.status, 0) << c.elevator;
        EXPECT_EQ(r.elevationMissing, c.missing) << c.elevator;
        EXPECT_NE(r.run.err.find(c.errHas), std::string::npos) << r.run.err;
        EXPECT_EQ(r.run.err.find("Error"), std::string::npos) << r.run.err;
        ASSERT_EQ(r.outcome.failures.size(), 1u);
        EXPECT_TRUE(r.outcome.failures[0].error.isRefusal(FileError::notReported));
    }
    EXPECT_TRUE(test::exists(dir / "kept"));
}

}  // namespace
}  // namespace kelvane
