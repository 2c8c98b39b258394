// Deletion under hostile conditions: mounts inside and at the selection,
// other users' links above it, the trash's own folders, names at the length
// limit, trees that change or go deeper than the descriptor limit.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pwd.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <climits>
#include <filesystem>
#include <thread>

#include "core/unique_fd.h"
#include "support/scoped_mount.h"
#include "system/cleaner.h"
#include "system/trash.h"
#include "system/tree_remover.h"
#include "test_support.h"

namespace kelvane {
namespace {

using test::exists;
using test::listing;
using test::ScopedMount;
using test::TempTree;
using ::testing::HasSubstr;

constexpr uid_t kStranger = 65534;  // nobody: a user who is neither root nor us

bool refusedWith(const std::optional<FileError>& error, int code) {
    return error && error->isRefusal(code);
}

// A temporary tree with a trash of its own and a "world" outside the
// selection whose listing must not change.
class DeletionSafety : public ::testing::Test {
  protected:
    void SetUp() override {
        test::makeFolder(dir / "data");
        test::makeFolder(dir / "world");
        test::writeFile(dir / "world/precious", "keep me");
        test::makeFolder(dir / "world/folder");
        test::writeFile(dir / "world/folder/also", "keep me too");
        test::makeFolder(dir / "tree");
        test::writeFile(dir / "tree/file", "x");
    }

    // A tmpfs at `relative`, or a skip when this process may not mount.
    std::optional<ScopedMount> mountTmpfs(const std::string& relative) {
        if (!exists(dir / relative)) test::makeFolder(dir / relative);
        ScopedMount m = ScopedMount::tmpfs(dir / relative);
        if (m.error() != 0) return std::nullopt;
        return m;
    }

    TempTree dir;
    test::ScopedEnv data{"XDG_DATA_HOME", dir / "data"};
};

#define MOUNT_OR_SKIP(var, expr) \
    auto var = (expr);           \
    if (!var) GTEST_SKIP() << "mounting needs root here"

TEST_F(DeletionSafety, ASelectedMountPointIsNeverEmptiedRemovedOrTrashed) {
    MOUNT_OR_SKIP(volume, mountTmpfs("tree/mnt"));
    test::writeFile(dir / "tree/mnt/on-volume", "v");
    test::makeFolder(dir / "tree/mnt/sub");
    const std::string before = listing(dir / "tree/mnt");

    EXPECT_TRUE(refusedWith(TreeRemover::remove(dir / "tree/mnt"), FileError::mountPoint));
    EXPECT_TRUE(refusedWith(Trash::moveToTrash(dir / "tree/mnt"), FileError::mountPoint));
    // Nor does the administrator: the helper uses the same rules.
    const AdminDeleteResult admin =
        Cleaner::deleteAsAdminVia("", KELVANE_TEST_ADMIN_HELPER, {dir / "tree/mnt"});
    ASSERT_EQ(admin.outcome.failures.size(), 1u);
    EXPECT_TRUE(admin.outcome.failures[0].error.isRefusal(FileError::mountPoint));
    // Emptying the folder around it removes the rest and leaves the mount.
    EXPECT_TRUE(refusedWith(TreeRemover::remove(dir / "tree"), FileError::mountInside));
    EXPECT_FALSE(exists(dir / "tree/file"));
    EXPECT_EQ(listing(dir / "tree/mnt"), before);
    EXPECT_NE(before.find("on-volume"), std::string::npos);
}

// One rename would carry the volume into the trash with the folder. The
// mount point's tab and space come escaped in the kernel's mount table.
TEST_F(DeletionSafety, AFolderWithAVolumeMountedBelowIsNeverMovedToTheTrash) {
    test::makeFolder(dir / "tree/deep er");
    MOUNT_OR_SKIP(volume, mountTmpfs("tree/deep er/m\tnt"));
    test::writeFile(dir / "tree/deep er/m\tnt/on-volume", "v");
    const std::string before = listing(dir / "tree/deep er");

    for (const char* folder : {"tree", "tree/deep er"}) {
        EXPECT_TRUE(refusedWith(Trash::moveToTrash(dir / folder), FileError::mountInsideNotMoved));
    }
    EXPECT_EQ(listing(dir / "tree/deep er"), before);
    EXPECT_EQ(Trash::moveToTrash(dir / "tree/file"), std::nullopt);
    volume.reset();
    EXPECT_EQ(Trash::moveToTrash(dir / "tree"), std::nullopt);
    EXPECT_FALSE(exists(dir / "tree"));
}

TEST_F(DeletionSafety, BindMountsOfTheSameDeviceAreNeverEntered) {
    const std::string world = listing(dir / "world");
    test::makeFolder(dir / "tree/bound");
    auto bound = ScopedMount::bind(dir / "world", dir / "tree/bound");
    if (bound.error() != 0) GTEST_SKIP() << "mounting needs root here";
    // A loop: the tree bound inside itself.
    test::makeFolder(dir / "tree/sub");
    test::makeFolder(dir / "tree/sub/loop");
    auto loop = ScopedMount::bind(dir / "tree", dir / "tree/sub/loop");
    ASSERT_EQ(loop.error(), 0);

    const DeleteOutcome outcome = Cleaner::deleteItems({dir / "tree/bound", dir / "tree"}, true,
                                                       [](const std::string&) { return 0; });
    ASSERT_EQ(outcome.failures.size(), 2u);
    EXPECT_TRUE(outcome.failures[0].error.isRefusal(FileError::mountPoint));
    EXPECT_TRUE(outcome.failures[1].error.isRefusal(FileError::mountInside));
    EXPECT_EQ(listing(dir / "world"), world);
    EXPECT_FALSE(exists(dir / "tree/file"));
}

// Another user's folder on the way to an item, swapped for a link (say while
// the password dialog is up): neither our deletion nor the administrator's
// follows it. Root's and the asking user's own links are followed.
TEST_F(DeletionSafety, OnlyRootsAndTheAskingUsersLinksAboveAnItemAreFollowed) {
    if (geteuid() != 0) GTEST_SKIP() << "needs root to give a link to another user";
    const std::string world = listing(dir / "world");
    ASSERT_EQ(symlink((dir / "world").c_str(), (dir / "swapped").c_str()), 0);
    ASSERT_EQ(lchown((dir / "swapped").c_str(), kStranger, kStranger), 0);
    const std::string victim = dir / "swapped/precious";

    EXPECT_TRUE(refusedWith(TreeRemover::remove(victim), FileError::untrustedLink));
    EXPECT_TRUE(refusedWith(Trash::moveToTrash(victim), FileError::untrustedLink));
    const AdminDeleteResult admin =
        Cleaner::deleteAsAdminVia("", KELVANE_TEST_ADMIN_HELPER, {victim, dir / "swapped/folder"});
    ASSERT_EQ(admin.outcome.failures.size(), 2u);
    for (const DeleteFailure& f : admin.outcome.failures) {
        EXPECT_TRUE(f.error.isRefusal(FileError::untrustedLink)) << f.error.description;
    }
    EXPECT_EQ(listing(dir / "world"), world);

    // The administrator acting for the link's owner follows it.
    const std::string owner = "PKEXEC_UID=" + std::to_string(kStranger);
    const std::string elevator =
        test::writeScript(dir.path(), "as-owner", "export " + owner + "; exec \"$@\"");
    EXPECT_EQ(Cleaner::deleteAsAdminVia(elevator, KELVANE_TEST_ADMIN_HELPER, {victim}).run.status,
              0);
    EXPECT_FALSE(exists(dir / "world/precious"));
    // And our own links (root's, here) are followed as always.
    ASSERT_EQ(lchown((dir / "swapped").c_str(), 0, 0), 0);
    EXPECT_EQ(TreeRemover::remove(dir / "swapped/folder"), std::nullopt);
    EXPECT_FALSE(exists(dir / "world/folder"));
}

// The folder of a selection is swapped for a link of our own to the world
// while the batch is under way (between the size of one item and its
// deletion): the rest of the batch is taken from the folder the batch found,
// where the user saw it, and nothing behind the link is touched.
TEST_F(DeletionSafety, ABatchStaysInTheFolderItFoundWhenThatFolderIsSwapped) {
    for (const bool permanent : {true, false}) {
        SCOPED_TRACE(permanent ? "permanent" : "trash");
        test::makeFolder(dir / "tree/sel");
        for (const char* name : {"a", "b", "c"}) {
            test::writeFile(dir / ("tree/sel/" + std::string(name)), "selected");
            test::writeFile(dir / ("world/" + std::string(name)), "keep me");
        }
        const std::string world = listing(dir / "world");
        const auto swapOnB = [&](const std::string& path) -> std::int64_t {
            if (path == dir / "tree/sel/b") {
                std::filesystem::rename(dir / "tree/sel", dir / "tree/moved");
                std::filesystem::create_symlink(dir / "world", dir / "tree/sel");
            }
            return 1;
        };
        const DeleteOutcome outcome = Cleaner::deleteItems(
            {dir / "tree/sel/a", dir / "tree/sel/b", dir / "tree/sel/c"}, permanent, swapOnB);
        EXPECT_EQ(outcome.deleted.size(), 3u);
        EXPECT_EQ(listing(dir / "world"), world);
        EXPECT_EQ(listing(dir / "tree/moved"), "");
        std::filesystem::remove(dir / "tree/sel");
        std::filesystem::remove(dir / "tree/moved");
    }
}

// ~/Data is a link to a folder on another disk: the item goes to that
// disk's trash at its top, with a Path that trash tools can restore.
TEST_F(DeletionSafety, TrashingThroughALinkOntoAnotherDiskUsesThatDisksTopTrash) {
    MOUNT_OR_SKIP(disk, mountTmpfs("disk"));
    test::makeFolder(dir / "disk/data");
    test::writeFile(dir / "disk/data/report.txt", "r");
    ASSERT_EQ(symlink((dir / "disk/data").c_str(), (dir / "Data").c_str()), 0);

    ASSERT_EQ(Trash::moveToTrash(dir / "Data/report.txt"), std::nullopt);
    const std::string volumeTrash = dir / ("disk/.Trash-" + std::to_string(getuid()));
    EXPECT_EQ(test::readFile(volumeTrash + "/files/report.txt"), "r");
    EXPECT_THAT(test::readFile(volumeTrash + "/info/report.txt.trashinfo"),
                HasSubstr("\nPath=data/report.txt\n"));
    EXPECT_FALSE(exists(dir / "disk/data/.Trash-" + std::to_string(getuid())));
    if (exists("/usr/bin/trash-list")) {
        EXPECT_THAT(test::sh("/usr/bin/trash-list").out,
                    HasSubstr(" " + dir / "disk/data/report.txt\n"));
    }
    // With an administrator's shared, sticky .Trash the user's folder goes
    // inside it.
    ASSERT_EQ(mkdir((dir / "disk/.Trash").c_str(), 01777), 0);
    ASSERT_EQ(chmod((dir / "disk/.Trash").c_str(), 01777), 0);
    test::writeFile(dir / "disk/data/second", "s");
    ASSERT_EQ(Trash::moveToTrash(dir / "Data/second"), std::nullopt);
    EXPECT_EQ(test::readFile(dir / ("disk/.Trash/" + std::to_string(getuid()) + "/files/second")),
              "s");
    // Its own trash folders stay where they are.
    for (const char* own : {"", "/files", "/info"}) {
        EXPECT_TRUE(refusedWith(Trash::moveToTrash(volumeTrash + own), FileError::trashOwnFolder));
    }
}

TEST_F(DeletionSafety, TheHomeTrashsOwnFoldersAreNeverTrashedButMayBeDeleted) {
    test::writeFile(dir / "tree/a", "a");
    ASSERT_EQ(Trash::moveToTrash(dir / "tree/a"), std::nullopt);
    test::makeFolder(dir / "data/Trash/directorysizes");
    const std::string trash = dir / "data/Trash";
    const std::string before = listing(trash);
    for (const char* own : {"", "/files", "/info", "/directorysizes"}) {
        EXPECT_TRUE(refusedWith(Trash::moveToTrash(trash + own), FileError::trashOwnFolder)) << own;
    }
    EXPECT_EQ(listing(trash), before);
    // Deleting them for good is emptying the trash, which is the user's to do.
    EXPECT_EQ(TreeRemover::remove(trash), std::nullopt);
}

TEST_F(DeletionSafety, CollisionNamesFitTheNameLimitAndKeepTheExtension) {
    // 245 bytes: with ".trashinfo" exactly 255; the second needs ".2" and
    // must lose two bytes of its stem. 240 bytes: fine until ".10".
    struct Case {
        std::size_t length;
        int copies;
    } cases[] = {{245, 3}, {240, 12}, {255, 2}};
    for (const Case& c : cases) {
        std::string name(c.length - 4, 'n');
        // A multi-byte character where the cut falls must not be split.
        name.replace(name.size() - 6, 3, "語");
        name += ".txt";
        for (int i = 0; i < c.copies; ++i) {
            const std::string folder =
                dir / ("tree/" + std::to_string(c.length) + "-" + std::to_string(i));
            test::makeFolder(folder);
            test::writeFile(folder + "/" + name, std::to_string(i));
            ASSERT_EQ(Trash::moveToTrash(folder + "/" + name), std::nullopt)
                << c.length << " copy " << i;
        }
    }
    for (const auto& entry : std::filesystem::directory_iterator(dir / "data/Trash/files")) {
        const std::string name = entry.path().filename().string();
        EXPECT_LE(name.size() + 10, 255u) << name;
        EXPECT_TRUE(name.ends_with(".txt")) << name;
        EXPECT_TRUE(exists(dir / ("data/Trash/info/" + name + ".trashinfo"))) << name;
    }
}

// A disk whose top folder the user may not write (a separate volume set up
// by root): there is no trash for them there. That is its own failure, not
// a lack of rights to offer the administrator for; deleting for good works.
void trashOnAVolumeWithoutTrash(const std::string& disk) {
    const std::optional<FileError> trashed = Trash::moveToTrash(disk + "/mine/file");
    EXPECT_TRUE(refusedWith(trashed, FileError::noUsableTrash));
    DeleteOutcome outcome;
    outcome.failures.push_back({disk + "/mine/file", *trashed});
    EXPECT_TRUE(outcome.permissionDenied().empty());
    EXPECT_EQ(TreeRemover::remove(disk + "/mine/file"), std::nullopt);
}

TEST_F(DeletionSafety, AVolumeWithoutAUsableTrashIsNoMatterOfRights) {
    if (const auto folder = test::testUserFolder()) return trashOnAVolumeWithoutTrash(*folder);
    if (!test::canRunAsTestUser()) GTEST_SKIP() << "needs root, runuser and kelvane-test";
    MOUNT_OR_SKIP(disk, mountTmpfs("disk"));
    const passwd* user = getpwnam("kelvane-test");
    ASSERT_EQ(chmod((dir / "disk").c_str(), 0755), 0);
    test::makeFolder(dir / "disk/mine");
    test::writeFile(dir / "disk/mine/file", "x");
    for (const char* p : {"disk/mine", "disk/mine/file"}) {
        ASSERT_EQ(lchown((dir / p).c_str(), user->pw_uid, user->pw_gid), 0);
    }
    EXPECT_EQ(test::rerunAsTestUser(dir / "disk"), 0) << "the checks run as kelvane-test failed";
    EXPECT_FALSE(exists(dir / "disk/mine/file"));
}

TEST_F(DeletionSafety, FilesVanishingDuringARemovalAreNotFailures) {
    for (int d = 0; d < 4; ++d) {
        const std::string folder = dir / ("tree/d" + std::to_string(d));
        test::makeFolder(folder);
        for (int f = 0; f < 500; ++f) test::writeFile(folder + "/f" + std::to_string(f), "");
    }
    // Someone else removes the same tree at the same time.
    std::atomic<bool> go{false};
    std::thread other([&] {
        while (!go) std::this_thread::yield();
        std::error_code ec;
        std::filesystem::remove_all(dir / "tree", ec);
    });
    go = true;
    const std::optional<FileError> error = TreeRemover::remove(dir / "tree");
    other.join();
    // Whoever got there first, the tree is gone, and that is success.
    EXPECT_EQ(error, std::nullopt) << (error ? error->description : "");
    EXPECT_FALSE(exists(dir / "tree"));
}

TEST_F(DeletionSafety, DepthIsNotLimitedByTheDescriptorLimitNorByPathMax) {
    // Built with *at calls: the full path is far too long for mkdir(2).
    UniqueFd fd(open((dir / "tree").c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    std::string deepest = dir / "tree";
    for (int level = 0; level < 1500; ++level) {
        ASSERT_EQ(mkdirat(fd.get(), "level", 0755), 0);
        fd = UniqueFd(openat(fd.get(), "level", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        ASSERT_TRUE(fd.valid());
        deepest += "/level";
    }
    ASSERT_EQ(mkdirat(fd.get(), "leaf", 0755), 0);
    fd.reset();
    // An item deep below, named by its over-long path.
    ASSERT_GT(deepest.size(), std::size_t{PATH_MAX});
    EXPECT_EQ(TreeRemover::remove(deepest + "/leaf"), std::nullopt);
    EXPECT_FALSE(exists(deepest + "/leaf"));
    rlimit old{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &old), 0);
    rlimit tight = old;
    tight.rlim_cur = 256;  // tighter than the usual 1024, let alone 1500 levels
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &tight), 0);
    const std::optional<FileError> error = TreeRemover::remove(dir / "tree");
    setrlimit(RLIMIT_NOFILE, &old);
    EXPECT_EQ(error, std::nullopt) << (error ? error->description : "");
    EXPECT_FALSE(exists(dir / "tree"));
}

}  // namespace
}  // namespace kelvane
