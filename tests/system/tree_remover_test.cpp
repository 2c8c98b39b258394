#include "system/tree_remover.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <filesystem>
#include <memory>
#include <sstream>

#include "core/unique_fd.h"
#include "system/cleaner.h"
#include "test_support.h"

namespace kelvane {
namespace {

using test::exists;
using test::TempTree;

TEST(TreeRemover, RemovesLinksNeverWhatTheyPointToAndRefusesDotNames) {
    TempTree dir;
    test::makeFolder(dir / "outside");
    test::writeFile(dir / "outside/precious", "keep");
    test::makeFolder(dir / "tree");
    test::makeFolder(dir / "tree/sub");
    test::writeFile(dir / "tree/sub/file", "x");
    ASSERT_EQ(symlink((dir / "outside").c_str(), (dir / "tree/sub/to-folder").c_str()), 0);
    ASSERT_EQ(symlink((dir / "outside/precious").c_str(), (dir / "tree/to-file").c_str()), 0);
    ASSERT_EQ(symlink("/nonexistent", (dir / "tree/dangling").c_str()), 0);
    ASSERT_EQ(symlink((dir / "outside").c_str(), (dir / "link-to-folder").c_str()), 0);

    // The given path itself is a link to a folder: only the link goes.
    EXPECT_EQ(TreeRemover::remove(dir / "link-to-folder"), std::nullopt);
    EXPECT_FALSE(exists(dir / "link-to-folder"));
    EXPECT_TRUE(exists(dir / "outside/precious"));

    EXPECT_EQ(TreeRemover::remove(dir / "tree"), std::nullopt);
    EXPECT_FALSE(exists(dir / "tree"));
    EXPECT_EQ(test::readFile(dir / "outside/precious"), "keep");

    // A missing item keeps its errno; "." and ".." are never removed.
    EXPECT_EQ(Cleaner::underlyingErrno(*TreeRemover::remove(dir / "nothing")), ENOENT);
    for (const std::string& p : {dir / "outside/.", dir / "outside/.."}) {
        EXPECT_EQ(Cleaner::underlyingErrno(*TreeRemover::remove(p)), EINVAL) << p;
    }
    EXPECT_TRUE(exists(dir / "outside/precious"));
}

TEST(TreeRemover, ImmutableFileIsProtectedAndTheRestStillGoes) {
    TempTree dir;
    test::makeFolder(dir / "tree");
    test::writeFile(dir / "tree/immutable", "x");
    test::writeFile(dir / "tree/ordinary", "x");
    test::writeFile(dir / "alone", "x");
    const test::Immutable inTree(dir / "tree/immutable"), alone(dir / "alone");
    if (inTree.error() != 0 || alone.error() != 0) {
        GTEST_SKIP() << "this file system or process cannot set the immutable flag";
    }
    const test::ScopedEnv data("XDG_DATA_HOME", dir / "data");
    // Root cannot remove an immutable file either: EPERM, which the cleaner
    // reports as protected — permanently and to the trash alike.
    const DeleteOutcome permanent = Cleaner::deleteItems(
        {dir / "tree", dir / "alone"}, true, [](const std::string&) { return std::int64_t{0}; });
    const DeleteOutcome trashed = Cleaner::deleteItems(
        {dir / "alone"}, false, [](const std::string&) { return std::int64_t{0}; });

    EXPECT_EQ(permanent.protectedPaths(), (std::vector<std::string>{dir / "tree", dir / "alone"}));
    EXPECT_TRUE(permanent.permissionDenied().empty());
    EXPECT_FALSE(exists(dir / "tree/ordinary"));
    EXPECT_TRUE(exists(dir / "tree/immutable"));
    EXPECT_EQ(trashed.protectedPaths(), std::vector<std::string>{dir / "alone"});
}

// In the child run as the test account: the deletions the parent prepared.
void deleteAsTestUser(const std::string& dir) {
    const std::string w = dir + "/work";
    const test::ScopedEnv data("XDG_DATA_HOME", dir + "/home/.local/share");
    const auto none = [](const std::string&) { return std::int64_t{0}; };
    const auto check = [&](const DeleteOutcome& outcome, const std::vector<std::string>& deleted,
                           const std::vector<std::string>& denied) {
        std::vector<std::string> gone;
        for (const DeletedItem& item : outcome.deleted) gone.push_back(item.path);
        EXPECT_EQ(gone, deleted);
        EXPECT_EQ(outcome.permissionDenied(), denied);
        EXPECT_EQ(outcome.failures.size(), denied.size());
        EXPECT_TRUE(outcome.protectedPaths().empty());
    };
    // The user's own folders without write or search permission are opened
    // up inside the selection only: locked/inside alone is refused, since
    // its folder is not part of what was selected, but locked goes whole.
    // Another user's folder (EACCES) and another user's file in a sticky
    // folder (EPERM) need the administrator — not "protected".
    check(Cleaner::deleteItems(
              {w + "/free", w + "/locked/inside", w + "/locked", w + "/sealed", w + "/empty-sealed",
               w + "/modcache", w + "/rootowned/mine", w + "/sticky/theirs"},
              true, none),
          {w + "/free", w + "/locked", w + "/sealed", w + "/empty-sealed", w + "/modcache"},
          {w + "/locked/inside", w + "/rootowned/mine", w + "/sticky/theirs"});
    // Moving to the trash is refused the same way.
    test::writeFile(w + "/free", "x");
    check(Cleaner::deleteItems({w + "/rootowned/mine", w + "/free", w + "/sticky/theirs"}, false,
                               none),
          {w + "/free"}, {w + "/rootowned/mine", w + "/sticky/theirs"});
    // A folder with an immutable file and one only root may remove needs the
    // administrator, whichever of the two its listing gives first.
    if (exists(w + "/mixed-a")) {
        check(Cleaner::deleteItems({w + "/mixed-a", w + "/mixed-b"}, true, none), {},
              {w + "/mixed-a", w + "/mixed-b"});
    }
}

TEST(AsTestUser, OwnReadOnlyTreesGoAndOnlyOthersRightsNeedTheAdministrator) {
    if (const auto folder = test::testUserFolder()) return deleteAsTestUser(*folder);
    if (!test::canRunAsTestUser())
        GTEST_SKIP() << "needs root, runuser and the kelvane-test account";
    TempTree dir;
    const passwd* user = getpwnam("kelvane-test");
    // A file (or, with a trailing "/", a folder) owned by the test account.
    const auto make = [&](const std::string& path, mode_t mode, bool theirs = true) {
        const bool folder = path.ends_with('/');
        const std::string p = folder ? path.substr(0, path.size() - 1) : path;
        folder ? test::makeFolder(p) : test::writeFile(p, "x");
        if (theirs) {
            ASSERT_EQ(lchown(p.c_str(), user->pw_uid, user->pw_gid), 0) << p;
        }
        ASSERT_EQ(chmod(p.c_str(), mode), 0) << p;
    };
    const std::string home = dir / "home", w = dir / "work";
    for (const std::string& f : {home + "/", home + "/.local/", home + "/.local/share/", w + "/",
                                 w + "/locked/", w + "/sealed/", w + "/modcache/"}) {
        make(f, 0755);
    }
    for (const std::string& f : {w + "/free", w + "/locked/inside", w + "/sealed/inside"})
        make(f, 0644);
    // Like Go's module cache: read-only folders all the way down.
    make(w + "/modcache/mod@v1/", 0755);
    make(w + "/modcache/mod@v1/sub/", 0755);
    make(w + "/modcache/mod@v1/sub/file.go", 0444);
    for (const char* f : {"/modcache/mod@v1/sub", "/modcache/mod@v1", "/locked"}) {
        ASSERT_EQ(chmod((w + f).c_str(), 0555), 0);
    }
    make(w + "/empty-sealed/", 0000);
    ASSERT_EQ(chmod((w + "/sealed").c_str(), 0000), 0);
    make(w + "/rootowned/", 0755, false);
    make(w + "/rootowned/mine", 0644);
    make(w + "/sticky/", 01777, false);
    make(w + "/sticky/theirs", 0666, false);

    // Two shared sticky folders, each with a file "a" and a file "b" of
    // root's, made in the same order: one folder's "a" is immutable, the
    // other's "b". The listing order of two names is the same in both
    // folders (by creation on tmpfs, by name hash on ext4), so one of them
    // shows the immutable file first and the other the removable one.
    std::vector<std::unique_ptr<test::Immutable>> pinned;
    for (const char* pin : {"/mixed-a/a", "/mixed-b/b"}) {
        const std::string folder = w + std::string(pin).substr(0, 8);
        make(folder + "/", 01777, false);
        make(folder + "/a", 0644, false);
        make(folder + "/b", 0644, false);
        pinned.push_back(std::make_unique<test::Immutable>(w + pin));
    }
    if (pinned[0]->error() != 0) {
        for (const char* folder : {"/mixed-a", "/mixed-b"}) std::filesystem::remove_all(w + folder);
    }

    EXPECT_EQ(test::rerunAsTestUser(dir.path()), 0) << "the checks run as kelvane-test failed";
    if (pinned[0]->error() == 0) {
        // The administrator removes what root can; the rest is protected.
        const AdminDeleteResult admin = Cleaner::deleteAsAdminVia("", KELVANE_TEST_ADMIN_HELPER,
                                                                  {w + "/mixed-a", w + "/mixed-b"});
        EXPECT_EQ(admin.outcome.protectedPaths(),
                  (std::vector<std::string>{w + "/mixed-a", w + "/mixed-b"}));
        EXPECT_TRUE(exists(w + "/mixed-a/a") && exists(w + "/mixed-b/b"));
        EXPECT_FALSE(exists(w + "/mixed-a/b") || exists(w + "/mixed-b/a"));
    }
    for (const char* kept : {"/rootowned/mine", "/sticky/theirs"}) EXPECT_TRUE(exists(w + kept));
    for (const char* gone : {"/locked", "/sealed", "/modcache"}) EXPECT_FALSE(exists(w + gone));
    // The refused items left no info file behind.
    const std::string trash = home + "/.local/share/Trash";
    EXPECT_TRUE(exists(trash + "/files/free") && exists(trash + "/info/free.trashinfo"));
    EXPECT_EQ(Cleaner::contents(trash + "/info").size(), 1u);
}

}  // namespace
}  // namespace kelvane
