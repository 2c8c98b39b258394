#include "system/tree_remover.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <sstream>

#include "system/cleaner.h"
#include "system/unique_fd.h"
#include "test_support.h"

namespace kelvane {
namespace {

using test::exists;
using test::TempDir;

TEST(TreeRemover, RemovesLinksNeverWhatTheyPointTo) {
    TempDir dir;
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
}

TEST(TreeRemover, ReportsTheErrnoOfAMissingItemAndRefusesDotNames) {
    TempDir dir;
    const auto missing = TreeRemover::remove(dir / "nothing");
    ASSERT_TRUE(missing.has_value());
    EXPECT_EQ(Cleaner::underlyingErrno(*missing), ENOENT);
    test::makeFolder(dir / "kept");
    for (const std::string& p : {dir / "kept/.", dir / "kept/..", std::string("/")}) {
        const auto refused = TreeRemover::remove(p);
        ASSERT_TRUE(refused.has_value()) << p;
        EXPECT_EQ(Cleaner::underlyingErrno(*refused), EINVAL) << p;
    }
    EXPECT_TRUE(exists(dir / "kept"));
}

TEST(TreeRemover, HandlesPathsLongerThanPathMax) {
    TempDir dir;
    // Built with *at calls: the full path is too long for mkdir(2).
    const std::string component(200, 'd');
    std::string deepest = dir / "deep";
    test::makeFolder(deepest);
    UniqueFd fd(open(deepest.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    ASSERT_TRUE(fd.valid());
    while (deepest.size() < PATH_MAX + 2000) {
        ASSERT_EQ(mkdirat(fd.get(), component.c_str(), 0755), 0);
        fd = UniqueFd(openat(fd.get(), component.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        ASSERT_TRUE(fd.valid());
        deepest += "/" + component;
    }
    UniqueFd file(openat(fd.get(), "leaf", O_WRONLY | O_CREAT | O_CLOEXEC, 0644));
    ASSERT_TRUE(file.valid());
    ASSERT_EQ(mkdirat(fd.get(), "leaf-folder", 0755), 0);
    file.reset();
    fd.reset();

    // An item deep below, named by its over-long path.
    EXPECT_EQ(TreeRemover::remove(deepest + "/leaf"), std::nullopt);
    EXPECT_EQ(TreeRemover::remove(deepest + "/leaf-folder"), std::nullopt);
    // And the whole chain from the top.
    EXPECT_EQ(TreeRemover::remove(dir / "deep"), std::nullopt);
    EXPECT_FALSE(exists(dir / "deep"));
}

TEST(TreeRemover, ImmutableFileIsProtectedAndTheRestStillGoes) {
    TempDir dir;
    test::makeFolder(dir / "tree");
    test::writeFile(dir / "tree/immutable", "x");
    test::writeFile(dir / "tree/ordinary", "x");
    test::writeFile(dir / "alone", "x");
    const ShellResult flag = test::sh("chattr +i " + Cleaner::shellQuoted(dir / "tree/immutable") +
                                      " " + Cleaner::shellQuoted(dir / "alone"));
    if (flag.status != 0) {
        GTEST_SKIP() << "this file system or process cannot set the immutable flag: " << flag.err;
    }
    const test::ScopedEnv data("XDG_DATA_HOME", dir / "data");
    // Root cannot remove an immutable file either: EPERM, which the cleaner
    // reports as protected — permanently and to the trash alike.
    const DeleteOutcome permanent = Cleaner::deleteItems(
        {dir / "tree", dir / "alone"}, true, [](const std::string&) { return std::int64_t{0}; });
    const DeleteOutcome trashed = Cleaner::deleteItems(
        {dir / "alone"}, false, [](const std::string&) { return std::int64_t{0}; });
    test::sh("chattr -i " + Cleaner::shellQuoted(dir / "tree/immutable") + " " +
             Cleaner::shellQuoted(dir / "alone"));

    EXPECT_EQ(permanent.protectedPaths(), (std::vector<std::string>{dir / "tree", dir / "alone"}));
    EXPECT_TRUE(permanent.permissionDenied().empty());
    EXPECT_FALSE(exists(dir / "tree/ordinary"));
    EXPECT_TRUE(exists(dir / "tree/immutable"));
    EXPECT_EQ(trashed.protectedPaths(), std::vector<std::string>{dir / "alone"});
}

// Permission failures only happen to an unprivileged user, so these run the
// deletion in a child process as the test account.
class AsTestUser : public ::testing::Test {
  protected:
    void SetUp() override {
        if (!test::canRunAsTestUser()) {
            GTEST_SKIP() << "needs root, runuser and the kelvane-test account";
        }
        const passwd* user = getpwnam("kelvane-test");
        uid_ = user->pw_uid;
        gid_ = user->pw_gid;
        // The test program itself must be reachable by that account.
        ASSERT_EQ(test::sh("/usr/sbin/runuser -u kelvane-test -- test -x /proc/self/exe").status,
                  0);
    }

    // Creates a file (or, with a trailing "/", a folder) owned by the test
    // account with `mode`.
    void make(const std::string& path, mode_t mode) {
        const bool folder = path.ends_with('/');
        const std::string p = folder ? path.substr(0, path.size() - 1) : path;
        folder ? test::makeFolder(p) : test::writeFile(p, "x");
        ASSERT_EQ(lchown(p.c_str(), uid_, gid_), 0) << p;
        ASSERT_EQ(chmod(p.c_str(), mode), 0) << p;
    }

    uid_t uid_ = 0;
    gid_t gid_ = 0;
};

TEST_F(AsTestUser, FoldersWithoutWritePermissionGivePermissionDenied) {
    TempDir dir;
    const std::string home = dir / "home", w = dir / "work";
    make(home + "/", 0700);
    make(w + "/", 0755);
    make(w + "/free", 0644);
    make(w + "/locked/", 0755);
    make(w + "/locked/inside", 0644);
    make(w + "/sealed/", 0755);
    make(w + "/sealed/inside", 0644);
    make(w + "/empty-sealed/", 0000);
    ASSERT_EQ(chmod((w + "/locked").c_str(), 0555), 0);
    ASSERT_EQ(chmod((w + "/sealed").c_str(), 0000), 0);

    const ShellResult permanent = test::deleteAsTestUser(
        {w + "/free", w + "/locked/inside", w + "/locked", w + "/sealed", w + "/empty-sealed"},
        true, home);
    ASSERT_EQ(permanent.status, 0) << permanent.err;
    // An unreadable folder that is empty can still be removed.
    EXPECT_EQ(permanent.out, "deleted - " + w + "/free\ndeleted - " + w + "/empty-sealed\n" +
                                 "denied 13 " + w + "/locked/inside\ndenied 13 " + w +
                                 "/locked\ndenied 13 " + w + "/sealed\n");
    EXPECT_TRUE(exists(w + "/locked/inside") && exists(w + "/sealed/inside"));

    // Moving to the trash fails the same way and leaves no info file behind.
    make(w + "/free", 0644);
    const ShellResult trashed =
        test::deleteAsTestUser({w + "/locked/inside", w + "/free"}, false, home);
    ASSERT_EQ(trashed.status, 0) << trashed.err;
    EXPECT_EQ(trashed.out, "deleted - " + w + "/free\ndenied 13 " + w + "/locked/inside\n");
    const std::string trash = home + "/.local/share/Trash";
    EXPECT_TRUE(exists(trash + "/files/free") && exists(trash + "/info/free.trashinfo"));
    EXPECT_FALSE(exists(trash + "/info/inside.trashinfo"));
}

}  // namespace
}  // namespace kelvane
