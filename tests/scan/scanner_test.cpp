#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <climits>
#include <fstream>
#include <sstream>

#include "core/path_text.h"
#include "scan/scanner.h"
#include "scan/size_store.h"
#include "support/temp_tree.h"

using namespace kelvane;
using kelvane::test::allocated;
using kelvane::test::TempTree;

TEST(Scanner, SumsAllocatedSizesAndRecordsEveryFolder) {
    TempTree t;
    ASSERT_TRUE(t.dir("a") && t.dir("a/b") && t.dir("empty"));
    ASSERT_TRUE(t.file("a/one", 1) && t.file("a/b/big", 100000) && t.file("top", 5000));
    const std::string odd("n\xff\n 'q\"", 7);  // not UTF-8, newline, quotes, space
    ASSERT_TRUE(t.dir(odd) && t.file(odd + "/" + odd, 3000));

    SizeStore store;
    const ScanStats stats = Scanner::scan(t.path(), store);

    const std::int64_t b = allocated(t / "a/b") + allocated(t / "a/b/big");
    const std::int64_t a = allocated(t / "a") + allocated(t / "a/one") + b;
    const std::int64_t o = allocated(t / odd) + allocated(t / (odd + "/" + odd));
    const std::int64_t root =
        allocated(t.path()) + a + o + allocated(t / "empty") + allocated(t / "top");
    EXPECT_EQ(stats, (ScanStats{root, 4, 5, 0}));
    EXPECT_EQ(store.size(t.path()), root);
    EXPECT_EQ(store.size(t / "a"), a);
    EXPECT_EQ(store.size(t / "a/b"), b);
    EXPECT_EQ(store.size(t / odd), o);  // keyed by the exact bytes
    EXPECT_EQ(store.size(t / "empty"), allocated(t / "empty"));
    EXPECT_EQ(store.size(t / "top"), std::nullopt);  // files are never recorded
    EXPECT_EQ(store.count(), 5u);
}

TEST(Scanner, HardLinksCountOncePerWalk) {
    TempTree t;
    ASSERT_TRUE(t.dir("first") && t.dir("second") && t.file("first/f", 4096));
    ASSERT_TRUE(t.hardlink("first/f", "first/g") && t.hardlink("first/f", "second/h"));
    const std::int64_t f = allocated(t / "first/f");
    ASSERT_GT(f, 0);

    SizeStore store;
    const ScanStats whole = Scanner::scan(t.path(), store);
    EXPECT_EQ(whole.files, 1);
    EXPECT_EQ(whole.bytes,
              allocated(t.path()) + allocated(t / "first") + allocated(t / "second") + f);
    // The first occurrence owns the size: whichever folder the walk met first holds it.
    const std::int64_t inFirst = *store.size(t / "first") - allocated(t / "first");
    const std::int64_t inSecond = *store.size(t / "second") - allocated(t / "second");
    EXPECT_EQ(inFirst + inSecond, f);

    // Each walk has its own memory of links: two walks count the file once each.
    const ScanStats one = Scanner::scan(t / "first", store);
    const ScanStats two = Scanner::scan(t / "second", store);
    EXPECT_EQ(one.files + two.files, 2);
    EXPECT_EQ(two.bytes, allocated(t / "second") + f);
}

TEST(Scanner, LinksBelowTheRootAreItemsButARootLinkIsFollowed) {
    TempTree t;
    ASSERT_TRUE(t.dir("target") && t.file("target/big", 200000) && t.dir("root"));
    ASSERT_TRUE(t.symlink(t / "target", "root/to-target") &&
                t.symlink(t / "nowhere", "root/dangling"));
    ASSERT_TRUE(t.symlink("loop-b", "root/loop-a") && t.symlink("loop-a", "root/loop-b"));

    SizeStore store;
    const ScanStats below = Scanner::scan(t / "root", store);
    std::int64_t links = 0;
    for (const char* l : {"to-target", "dangling", "loop-a", "loop-b"})
        links += allocated(t / (std::string("root/") + l));
    EXPECT_EQ(below, (ScanStats{allocated(t / "root") + links, 4, 1, 0}));
    EXPECT_EQ(store.size(t / "root/to-target"), std::nullopt);

    ASSERT_TRUE(t.symlink(t / "target", "root-link"));
    const ScanStats followed = Scanner::scan(t / "root-link", store);
    EXPECT_EQ(followed,
              (ScanStats{allocated(t / "target") + allocated(t / "target/big"), 1, 1, 0}));
    EXPECT_EQ(store.size(t / "root-link"), followed.bytes);  // keyed under the path as given

    // Roots that are not folders: a file counts as itself and is never recorded.
    EXPECT_EQ(Scanner::scan(t / "target/big", store),
              (ScanStats{allocated(t / "target/big"), 1, 0, 0}));
    EXPECT_EQ(store.size(t / "target/big"), std::nullopt);
    EXPECT_EQ(Scanner::scan(t / "missing", store), (ScanStats{0, 0, 0, 1}));
    EXPECT_EQ(Scanner::scan("", store), (ScanStats{0, 0, 0, 1}));
}

namespace {

struct PollLog {
    int progressCalls = 0;
    std::int64_t lastProgress = -1;
    int cancelTests = 0;
};

// A root folder with `files` empty files: the walk delivers files + 2 entries.
ScanStats walkFlatTree(std::size_t files, bool cancel, PollLog& log, SizeStore& store) {
    TempTree t;
    for (std::size_t i = 0; i < files; ++i) t.file(std::to_string(i), 0);
    return Scanner::scan(
        t.path(), store,
        [&](std::int64_t bytes) {
            ++log.progressCalls;
            log.lastProgress = bytes;
        },
        [&] {
            ++log.cancelTests;
            return cancel;
        });
}

}  // namespace

TEST(Scanner, PollsEveryFourThousandEntriesAndStopsAtOnceWhenCancelled) {
    SizeStore store;
    PollLog below;
    walkFlatTree(3997, false, below, store);  // 3999 entries
    EXPECT_EQ(below.progressCalls, 0);
    EXPECT_EQ(below.cancelTests, 0);

    PollLog at;
    const ScanStats atStats =
        walkFlatTree(3998, false, at, store);  // 4000: the last is the root's exit
    EXPECT_EQ(at.progressCalls, 1);
    EXPECT_EQ(at.cancelTests, 1);
    EXPECT_EQ(at.lastProgress, atStats.bytes);  // the root is closed by then
    EXPECT_EQ(atStats.files, 3998);

    SizeStore cancelledStore;
    PollLog cancelled;
    const ScanStats partial = walkFlatTree(5000, true, cancelled, cancelledStore);
    EXPECT_EQ(cancelled.progressCalls, 0);
    EXPECT_EQ(cancelled.cancelTests, 1);
    EXPECT_EQ(partial.files, 3999);  // the root's entry plus 3999 files make 4000
    EXPECT_EQ(partial.dirs, 1);
    EXPECT_EQ(cancelledStore.count(), 0u);  // the open root is never recorded
}

TEST(Scanner, PathsBeyondPathMaxAreCountedAsUnreadable) {
    TempTree t;
    // Built with *at calls, since the deep end cannot be named by a full path.
    const std::string segment(200, 'd');
    std::vector<std::string> paths;
    int fd = ::open(t.path().c_str(), O_RDONLY | O_DIRECTORY);
    ASSERT_GE(fd, 0);
    std::string path = t.path();
    for (int depth = 0; depth < 30; ++depth) {
        ASSERT_EQ(::mkdirat(fd, segment.c_str(), 0755), 0);
        const int next = ::openat(fd, segment.c_str(), O_RDONLY | O_DIRECTORY);
        ASSERT_EQ(::close(fd), 0);
        ASSERT_GE(next, 0);
        fd = next;
        path += "/" + segment;
        paths.push_back(path);
    }
    ASSERT_EQ(::close(fd), 0);

    SizeStore store;
    const ScanStats stats = Scanner::scan(t.path(), store);
    std::int64_t reachable = 1;  // the root
    for (const std::string& p : paths) reachable += p.size() < PATH_MAX ? 1 : 0;
    EXPECT_EQ(stats.dirs, reachable);
    EXPECT_EQ(stats.unreadable, 1);  // the first folder too deep to name; below it, nothing
    EXPECT_EQ(store.size(t.path()), stats.bytes);
}

TEST(Scanner, MountPointsBelowTheRootAreNotEntered) {
    // Look for a mount point whose parent folder is itself a small mounted file system
    // (/dev/shm under /dev, say); walking that parent must stop at the mount point.
    std::ifstream mounts("/proc/self/mounts");
    std::string line;
    std::string mountPoint;
    std::string parent;
    while (std::getline(mounts, line)) {
        std::istringstream fields(line);
        std::string device;
        std::string point;
        fields >> device >> point;
        const std::string up = PathText::parent(point);
        struct stat a {};
        struct stat b {};
        if (up.size() > 1 && up.starts_with("/dev") && ::lstat(point.c_str(), &a) == 0 &&
            ::lstat(up.c_str(), &b) == 0 && S_ISDIR(a.st_mode) && a.st_dev != b.st_dev) {
            mountPoint = point;
            parent = up;
            break;
        }
    }
    if (mountPoint.empty()) GTEST_SKIP() << "no mount point below a small file system here";

    SizeStore store;
    Scanner::scan(parent, store);
    EXPECT_EQ(store.size(mountPoint), allocated(mountPoint));
    const std::size_t recorded = store.count();
    store.removeSubtree(mountPoint + "/");
    EXPECT_EQ(store.count(), recorded) << "a folder inside " << mountPoint << " was walked";
}
