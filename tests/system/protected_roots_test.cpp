// "/", the home folder, the folders above it and the system's own folders
// are refused by every way of deleting; what they hold is not.
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>

#include "core/path_text.h"
#include "system/cleaner.h"
#include "test_support.h"

namespace kelvane {
namespace {

using test::exists;

const auto kNoSize = [](const std::string&) { return std::int64_t{0}; };

// Every failure of `outcome` is the protected-roots refusal, and nothing
// was deleted. Returns a description of the first miss, empty when none.
std::string allRefused(const DeleteOutcome& outcome, std::size_t expected) {
    if (!outcome.deleted.empty()) return "deleted " + outcome.deleted.front().path;
    if (outcome.failures.size() != expected) return "not every path answered";
    for (const DeleteFailure& failure : outcome.failures) {
        if (!failure.error.isRefusal(FileError::protectedRoot)) {
            return failure.path + ": " + failure.error.description;
        }
    }
    return {};
}

// The home folder and the folder above it, however they are spelled, by the
// user's own deletion (permanent and to the trash) and by the helper; the
// home folder's contents still go.
TEST(ProtectedRoots, TheHomeFolderAndTheFoldersAboveItAreRefusedTheirContentsAreNot) {
    const test::TempTree dir;
    const std::string above = dir / "users", home = above + "/me";
    std::filesystem::create_directories(home + "/cache");
    test::writeFile(home + "/cache/blob", "x");
    test::writeFile(home + "/old.log", "x");
    ASSERT_EQ(::symlink(home.c_str(), (dir / "to-home").c_str()), 0);
    const test::ScopedEnv homeVariable("HOME", home);
    const test::ScopedEnv data("XDG_DATA_HOME", home + "/.local/share");
    // Spelled with a trailing slash, or through a link and "..", it is still
    // the same folder.
    const std::vector<std::string> refused{home, above, home + "/", dir / "to-home/../me", "/"};
    for (const bool permanent : {true, false}) {
        EXPECT_EQ(allRefused(Cleaner::deleteItems(refused, permanent, kNoSize), refused.size()), "")
            << permanent;
    }
    EXPECT_EQ(allRefused(Cleaner::deleteAsAdminVia("", KELVANE_TEST_ADMIN_HELPER, refused).outcome,
                         refused.size()),
              "");
    // A link to the home folder is only a link, and it goes like the contents.
    EXPECT_EQ(
        Cleaner::deleteItems({home + "/cache", dir / "to-home"}, true, kNoSize).failures.size(),
        0u);
    EXPECT_EQ(Cleaner::deleteItems({home + "/old.log"}, false, kNoSize).failures.size(), 0u);
    EXPECT_TRUE(exists(home));
    EXPECT_FALSE(exists(home + "/cache") || exists(home + "/old.log") || exists(dir / "to-home"));
}

// Inside a throw-away root (a tmpfs, in a mount namespace of its own, with
// the system's /usr and the build tree mounted read-only), so that not even
// a wrong answer could touch this machine: "/", the system's folders, a
// kernel file system's mount point, the home folder and the folders above it
// are refused by the user's deletion and by the helper; a file in /etc and
// a folder in the home go.
int checkInThrowAwayRoot(const std::string& root, const std::string& helper) {
    const auto fail = [](const char* what) {
        std::fprintf(stderr, "throw-away root: %s\n", what);
        return 1;
    };
    if (::unshare(CLONE_NEWNS) != 0) return 77;
    if (::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) return 77;
    if (::mount("tmpfs", root.c_str(), "tmpfs", 0, "size=16m,mode=0755") != 0) return 77;
    const std::string buildTree = PathText::parent(helper);
    for (const char* folder : {"/usr", "/etc", "/var/tmp", "/proc", "/home/u/.cache/app",
                               "/srv/queue", "/boot", "/opt", "/tmp"}) {
        std::filesystem::create_directories(root + std::string(folder));
    }
    std::filesystem::create_directories(root + buildTree);
    for (const char* link : {"bin", "lib", "lib64", "sbin"}) {
        const std::string target = std::string("usr/") + link;
        if (::symlink(target.c_str(), (root + "/" + link).c_str()) != 0) return fail("symlink");
    }
    const auto bindReadOnly = [&](const std::string& from) {
        const std::string at = root + from;
        return ::mount(from.c_str(), at.c_str(), nullptr, MS_BIND | MS_REC, nullptr) == 0 &&
               ::mount(nullptr, at.c_str(), nullptr, MS_REMOUNT | MS_BIND | MS_RDONLY, nullptr) ==
                   0;
    };
    if (!bindReadOnly("/usr") || !bindReadOnly(buildTree)) return fail("read-only binds");
    if (::mount("proc", (root + "/proc").c_str(), "proc", 0, nullptr) != 0) return fail("proc");
    // A kernel file system's volume: a system volume wherever it is mounted.
    if (::mount("mqueue", (root + "/srv/queue").c_str(), "mqueue", 0, nullptr) != 0)
        return fail("mqueue");
    test::writeFile(root + "/etc/stale.conf", "x");
    test::writeFile(root + "/home/u/.cache/app/blob", "x");
    if (::chroot(root.c_str()) != 0 || ::chdir("/") != 0) return fail("chroot");
    ::setenv("HOME", "/home/u", 1);
    ::setenv("XDG_DATA_HOME", "/home/u/.local/share", 1);

    const std::vector<std::string> refused{"/",     "/home", "/home/u", "/usr",
                                           "/etc",  "/bin",  "/lib",    "/proc",
                                           "/boot", "/var",  "/opt",    "/srv/queue"};
    int failures = 0;
    for (const bool permanent : {true, false}) {
        const std::string miss =
            allRefused(Cleaner::deleteItems(refused, permanent, kNoSize), refused.size());
        if (!miss.empty()) failures += fail(("user: " + miss).c_str());
    }
    const std::string adminMiss =
        allRefused(Cleaner::deleteAsAdminVia("", helper, refused).outcome, refused.size());
    if (!adminMiss.empty()) failures += fail(("helper: " + adminMiss).c_str());
    const AdminDeleteResult contents =
        Cleaner::deleteAsAdminVia("", helper, {"/etc/stale.conf", "/home/u/.cache/app"});
    if (!contents.outcome.failures.empty()) failures += fail("contents were not deleted");
    for (const char* kept : {"/home/u/.cache", "/etc", "/usr/lib", "/bin"}) {
        if (!exists(kept)) failures += fail(kept);
    }
    return failures;
}

TEST(ProtectedRoots, RootSystemFoldersAndSystemVolumesAreRefusedInAThrowAwayRoot) {
    if (::geteuid() != 0) GTEST_SKIP() << "needs root for a private mount namespace and chroot";
    const test::TempTree dir;
    const std::string root = dir / "root";
    test::makeFolder(root);
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) ::_exit(checkInThrowAwayRoot(root, KELVANE_TEST_ADMIN_HELPER));
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status));
    if (WEXITSTATUS(status) == 77) GTEST_SKIP() << "no private mount namespace here";
    EXPECT_EQ(WEXITSTATUS(status), 0) << "see the lines above";
}

}  // namespace
}  // namespace kelvane
