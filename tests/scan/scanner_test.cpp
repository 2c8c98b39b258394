#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <climits>

#include "scan/fts_reference_scan.h"
#include "scan/scanner.h"
#include "scan/size_store.h"
#include "support/scoped_mount.h"
#include "support/temp_tree.h"

using namespace kelvane;
using kelvane::test::TempTree;

namespace {

// A chain of `levels` folders named `segment` below `base`, built with *at calls since its deep
// end may be beyond what a full path can name; every `fileEvery`th level also holds a file "f".
// Returns the folders' allocated bytes and the deepest path.
std::pair<std::int64_t, std::string> buildChain(const std::string& base, const std::string& segment,
                                                int levels, int fileEvery) {
    std::int64_t bytes = 0;
    std::string deepest = base;
    int fd = ::open(base.c_str(), O_RDONLY | O_DIRECTORY);
    for (int depth = 0; depth < levels && fd >= 0; ++depth) {
        EXPECT_EQ(::mkdirat(fd, segment.c_str(), 0755), 0);
        const int next = ::openat(fd, segment.c_str(), O_RDONLY | O_DIRECTORY);
        EXPECT_EQ(::close(fd), 0);
        struct stat status {};
        EXPECT_EQ(::fstat(next, &status), 0);
        bytes += status.st_blocks * 512;
        fd = next;
        deepest += "/" + segment;
        if (depth % fileEvery != 0) continue;
        const int file = ::openat(fd, "f", O_CREAT | O_WRONLY, 0644);
        EXPECT_TRUE(::write(file, "x", 1) == 1 && ::close(file) == 0);
    }
    EXPECT_EQ(::close(fd), 0);
    return {bytes, deepest};
}

}  // namespace

TEST(Scanner, MatchesTheClassicWalkOnHostileTrees) {
    TempTree t;
    const std::string odd("n\xff\n 'q\"", 7);  // not UTF-8, newline, quotes, space
    ASSERT_TRUE(t.dir("a") && t.dir("a/b") && t.dir("empty") && t.dir(odd) && t.dir("mnt"));
    ASSERT_TRUE(t.file("a/one", 1) && t.file("a/b/big", 100000) && t.file(odd + "/" + odd, 3000));
    // Hard links within one folder and across folders, the first name deep inside.
    ASSERT_TRUE(t.file("a/b/shared", 20000) && t.hardlink("a/b/shared", "a/b/again") &&
                t.hardlink("a/b/shared", "z-later") && t.hardlink("a/b/shared", "a/later"));
    ASSERT_TRUE(t.symlink(t / "a", "to-a") && t.symlink(t / "nowhere", "dangling") &&
                t.symlink("loop-b", "loop-a") && t.symlink("loop-a", "loop-b"));
    ASSERT_EQ(::mkfifo((t / "fifo").c_str(), 0644), 0);
    ASSERT_TRUE(t.file("sparse", 1) && ::truncate((t / "sparse").c_str(), 1 << 30) == 0);
    const auto mount = test::ScopedMount::tmpfs(t / "mnt");
    ASSERT_TRUE(mount.error() != 0 || (t.dir("mnt/inside") && t.file("mnt/inside/f", 5000)));
    // A bind mount of a folder of the same device: entered, as the classic walk does, although
    // the walker's quick way into folders refuses to cross it.
    ASSERT_TRUE(t.dir("bound"));
    const auto bound = test::ScopedMount::bind(t / "a", t / "bound");
    // The whole tree again below itself: a cycle, which only a folder met across a mount closes.
    ASSERT_TRUE(t.dir("a/b/up"));
    const auto cycle = test::ScopedMount::bind(t.path(), t / "a/b/up");

    // The root as given, with a trailing slash (child paths do not double it), through a link,
    // and roots that are not folders. Each walk counts the shared file once, in its own walk.
    for (const std::string& root :
         {t.path(), t.path() + "/", t / "a/", t / "to-a", t / "a/b/big", t / "fifo", t / "dangling",
          t / "loop-a", t / "missing", std::string()}) {
        test::expectSameAsReference(root);
    }
}

TEST(Scanner, MatchesTheClassicWalkOnDeepWideAndLinkedTrees) {
    TempTree shm("/dev/shm");  // memory is much faster than disk for a hundred thousand files
    ASSERT_TRUE(shm.dir("wide") && shm.dir("chain") && shm.dir("forest"));
    for (int i = 0; i < 100'000; ++i) ASSERT_TRUE(shm.file("wide/" + std::to_string(i), 0));

    // 2000 levels, with names short enough for the classic walk's PATH_MAX limit; the deepest
    // file also has a name at the top.
    const std::string deepest = buildChain(shm / "chain", "d", 2000, 1999).second;
    ASSERT_EQ(::link((deepest + "/f").c_str(), (shm / "chain/first-name").c_str()), 0);

    // Ten folders of thirty folders of thirty files; every seventh file is a second name of one
    // in a folder elsewhere, met earlier or later depending on the listing order.
    const auto folder = [](int d) {
        return "forest/" + std::to_string(d % 10) + "/" + std::to_string(d);
    };
    for (int d = 0; d < 300; ++d) {
        ASSERT_TRUE((d >= 10 || shm.dir("forest/" + std::to_string(d))) && shm.dir(folder(d)));
        for (int i = 0; i < 30; ++i) {
            const std::string name = folder(d) + "/" + std::to_string(i);
            ASSERT_TRUE(d > 0 && i % 7 == 3
                            ? shm.hardlink(folder(d / 2) + "/" + std::to_string(i + 1), name)
                            : shm.file(name, static_cast<std::size_t>(i * 1031 + d) % 10000 + 1));
        }
    }
    for (const char* root : {"wide", "chain", "forest"}) test::expectSameAsReference(shm / root);
}

TEST(Scanner, ReportsEveryFourThousandVisitsOfAllThreads) {
    for (const ScanOptions& mode : {test::kScanModes[0], test::kScanModes[2]}) {
        SCOPED_TRACE(std::to_string(mode.threads) + " thread(s)");
        // Twenty folders, so the threads share the work: 42 visits for them, one per file.
        TempTree shm("/dev/shm");
        for (int d = 0; d < 20; ++d) ASSERT_TRUE(shm.dir(std::to_string(d)));
        const auto addFiles = [&](int from, int to) {
            for (int i = from; i < to; ++i)
                shm.file(std::to_string(i % 20) + "/" + std::to_string(i), 1);
        };
        std::int64_t reports = 0, cancelTests = 0, lastReport = -1;
        std::optional<std::int64_t> rootSize;
        const auto walk = [&](bool cancel) {
            reports = cancelTests = 0;
            SizeStore store;
            const ScanStats stats = Scanner::scan(
                shm.path(), store, [&](std::int64_t bytes) { ++reports, lastReport = bytes; },
                [&] { return ++cancelTests, cancel; }, mode);
            rootSize = store.size(shm.path());
            return stats;
        };
        addFiles(0, 3957);
        ASSERT_EQ(test::ftsReferenceScan(shm.path()).visits, 3999);
        walk(false);
        EXPECT_EQ(reports + cancelTests, 0);

        addFiles(3957, 3958);
        const ScanStats whole = walk(false);
        EXPECT_EQ(reports, 1);
        EXPECT_EQ(cancelTests, 1);
        EXPECT_EQ(lastReport, whole.bytes);  // the 4000th visit is the root's exit

        // Cancelled at the first poll: every thread stops within the next poll interval, the
        // open root is not recorded and its bytes are not claimed.
        addFiles(3958, 20000);
        const ScanStats partial = walk(true);
        EXPECT_EQ(cancelTests, 1);
        EXPECT_EQ(reports, 0);
        EXPECT_EQ(partial.bytes, 0);
        EXPECT_EQ(rootSize, std::nullopt);
        EXPECT_LT(partial.files, 2 * Scanner::kPollInterval);
        // One thread stops right after the 4000th visit, with the root and one folder open.
        EXPECT_TRUE(mode.threads > 1 || partial.files + 2 * partial.dirs - 2 == 4000);
    }
}

TEST(Scanner, WalksBeyondPathMaxWithinTheDescriptorLimit) {
    TempTree t;
    const std::string segment(200, 'd');
    const auto [folders, deepest] = buildChain(t.path(), segment, 40, 1000);
    ASSERT_GT(deepest.size(), static_cast<std::size_t>(PATH_MAX));

    // Eight descriptors to spare: the walk keeps within them, also when asked to keep more
    // folders open than the limit allows.
    struct rlimit saved {};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &saved), 0);
    const int lowest = ::dup(0);
    ASSERT_EQ(::close(lowest), 0);
    const struct rlimit tight = {static_cast<rlim_t>(lowest) + 8, saved.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &tight), 0);
    for (const ScanOptions& mode : {ScanOptions{1, nullptr, 0}, ScanOptions{1, nullptr, 32}}) {
        SizeStore store;
        const ScanStats stats = Scanner::scan(t.path(), store, {}, {}, mode);
        const std::int64_t own = test::allocated(t.path()) + folders;
        EXPECT_EQ(stats, (ScanStats{own + test::allocated(t / (segment + "/f")), 1, 41, 0}));
        EXPECT_EQ(store.count(), 41u);
        EXPECT_TRUE(store.size(deepest));
    }
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &saved), 0);
}
