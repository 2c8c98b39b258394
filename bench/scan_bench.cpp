// kelvane-scan-bench [--rounds N] [--threads N] [--cold] [--extras] ROOT
//
// Walks ROOT with Scanner::scan into a fresh SizeStore and with `du -sB1 --one-file-system`,
// alternating, after one warm-up of each, and prints medians as key=value lines. Each round
// pairs one walk with one run of du, so the ratios compare runs made under the same load:
// `ratio_1thread` for the walker on one thread, `ratio` for it on --threads threads (default:
// as many as the scanner would use; a given number has a budget of its own, so it may exceed
// the processors). With --cold the page cache is dropped before every
// measured walk of either side (only as root) and `ratio_cold` compares those. `peak_rss_mb` is
// the bench process's own peak (du runs in a child of its own). With --extras it also times
// SizeStore::removeSubtree on a large store and EntryLister::list on a large folder.

#include <fcntl.h>
#include <malloc.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "bench_median.h"
#include "core/unique_fd.h"
#include "scan/entry_lister.h"
#include "scan/scanner.h"
#include "scan/size_store.h"
#include "scan/thread_budget.h"

extern char** environ;

namespace kelvane {
namespace {

using Clock = std::chrono::steady_clock;

double secondsOf(const std::function<void()>& work) {
    const auto start = Clock::now();
    work();
    return std::chrono::duration<double>(Clock::now() - start).count();
}

// Runs du on `root` and returns the byte total it prints, or nothing when it fails.
std::optional<std::int64_t> duBytes(const std::string& root) {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) return std::nullopt;
    UniqueFd readEnd(ends[0]);
    UniqueFd writeEnd(ends[1]);

    posix_spawn_file_actions_t actions;
    if (::posix_spawn_file_actions_init(&actions) != 0) return std::nullopt;
    const bool wired = ::posix_spawn_file_actions_adddup2(&actions, writeEnd.get(), 1) == 0;
    std::string program = "/usr/bin/du";
    std::string sizeOption = "-sB1";
    std::string fsOption = "--one-file-system";
    std::string rootArg = root;
    char* const argv[] = {program.data(), sizeOption.data(), fsOption.data(), rootArg.data(),
                          nullptr};
    pid_t child = 0;
    const bool spawned =
        wired && ::posix_spawn(&child, argv[0], &actions, nullptr, argv, environ) == 0;
    (void)::posix_spawn_file_actions_destroy(&actions);
    writeEnd.reset();
    if (!spawned) return std::nullopt;

    std::string out;
    char buffer[4096];
    for (;;) {
        const ssize_t n = ::read(readEnd.get(), buffer, sizeof buffer);
        if (n > 0) {
            out.append(buffer, static_cast<std::size_t>(n));
        } else if (n == 0 || errno != EINTR) {
            break;
        }
    }
    int status = 0;
    while (::waitpid(child, &status, 0) < 0) {
        if (errno != EINTR) return std::nullopt;
    }
    // du exits 1 when some item could not be read but still prints its total.
    if (!WIFEXITED(status) || out.empty()) return std::nullopt;
    return std::strtoll(out.c_str(), nullptr, 10);
}

struct WalkResult {
    ScanStats stats;
    std::size_t storeEntries = 0;
    std::size_t storeHeapBytes = 0;
    double seconds = 0;
};

WalkResult walk(const std::string& root, const ScanOptions& options) {
    WalkResult result;
    const std::size_t heapBefore = ::mallinfo2().uordblks;
    SizeStore store;
    result.seconds = secondsOf([&] { result.stats = Scanner::scan(root, store, {}, {}, options); });
    // The walk's own state is gone by now; what the heap grew by is the store.
    result.storeHeapBytes = ::mallinfo2().uordblks - heapBefore;
    result.storeEntries = store.count();
    return result;
}

void benchRemoveSubtree() {
    // A million keys spelled like real folder paths, one subtree of a thousand among them.
    SizeStore store;
    char key[128];
    for (int i = 0; i < 999'000; ++i) {
        std::snprintf(key, sizeof key, "/home/user/Library/Caches/app%03d/blob%02d/chunk%05d",
                      i % 1000, (i / 1000) % 100, i);
        store.record(i, key);
    }
    const std::string subtree = "/home/user/Library/Caches/app500/target";
    std::vector<std::string> subtreeKeys{subtree};
    for (int i = 1; i < 1000; ++i) subtreeKeys.push_back(subtree + "/sub" + std::to_string(i));
    std::vector<double> micros;
    for (int round = 0; round < 7; ++round) {
        for (const std::string& k : subtreeKeys) store.record(1, k);
        const std::size_t before = store.count();
        micros.push_back(1e6 * secondsOf([&] { store.removeSubtree(subtree); }));
        if (before - store.count() != subtreeKeys.size()) {
            std::fprintf(stderr, "removeSubtree took %zu keys, expected %zu\n",
                         before - store.count(), subtreeKeys.size());
        }
    }
    std::printf("remove_subtree_store_entries=%zu\n", store.count() + subtreeKeys.size());
    std::printf("remove_subtree_removed=%zu\n", subtreeKeys.size());
    std::printf("remove_subtree_us=%.1f\n", median(micros));
}

void benchList() {
    constexpr int kFiles = 100'000;
    std::string folder = "/tmp/kelvane-list-bench-XXXXXX";
    if (::mkdtemp(folder.data()) == nullptr) {
        std::fprintf(stderr, "mkdtemp: %s\n", std::strerror(errno));
        return;
    }
    for (int i = 0; i < kFiles; ++i) {
        const UniqueFd fd(::open((folder + "/file-" + std::to_string(i)).c_str(),
                                 O_WRONLY | O_CREAT | O_CLOEXEC, 0644));
        if (fd.get() < 0) std::fprintf(stderr, "create: %s\n", std::strerror(errno));
    }
    const SizeStore store;
    std::size_t listed = 0;
    std::vector<double> seconds;
    for (int round = 0; round < 4; ++round) {  // the first round warms the cache
        const double s = secondsOf([&] {
            const auto entries = EntryLister::list(folder, store);
            listed = entries ? entries->size() : 0;
        });
        if (round > 0) seconds.push_back(s);
    }
    std::printf("list_entries=%zu\n", listed);
    std::printf("list_seconds=%.3f\n", median(seconds));
    for (int i = 0; i < kFiles; ++i)
        (void)::unlink((folder + "/file-" + std::to_string(i)).c_str());
    if (::rmdir(folder.c_str()) != 0) std::fprintf(stderr, "rmdir: %s\n", std::strerror(errno));
}

// Writes back dirty pages and empties the page cache, dentries and inodes, so the next walk
// reads everything from the disk. False when that is not allowed (not root).
bool dropCaches() {
    ::sync();
    const UniqueFd control(::open("/proc/sys/vm/drop_caches", O_WRONLY | O_CLOEXEC));
    return control.get() >= 0 && ::write(control.get(), "3", 1) == 1;
}

double peakRssMegabytes() {
    struct rusage usage {};
    if (::getrusage(RUSAGE_SELF, &usage) != 0) return -1;
    return static_cast<double>(usage.ru_maxrss) / 1024.0;  // ru_maxrss is in KiB on Linux
}

int run(int argc, char** argv) {
    int rounds = 3;
    int threads = ThreadBudget::process().size();
    bool cold = false;
    bool extras = false;
    std::string root;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "--rounds" && i + 1 < argc) {
            rounds = std::max(1, std::atoi(argv[++i]));
        } else if (arg == "--threads" && i + 1 < argc) {
            threads = std::max(1, std::atoi(argv[++i]));
        } else if (arg == "--cold") {
            cold = true;
        } else if (arg == "--extras") {
            extras = true;
        } else {
            root = arg;
        }
    }
    if (root.empty()) {
        std::fprintf(stderr,
                     "usage: kelvane-scan-bench [--rounds N] [--threads N] [--cold] [--extras] "
                     "ROOT\n");
        return 2;
    }
    // A given thread count has a budget of its own, so it may go beyond the processors (to see
    // how a walk that mostly waits for the disk scales); by default the process-wide one applies.
    ThreadBudget ownBudget(threads);
    const ScanOptions oneThread{1, nullptr, 0};
    const ScanOptions manyThreads{
        threads, threads == ThreadBudget::process().size() ? nullptr : &ownBudget, 0};

    (void)walk(root, manyThreads);  // warm-up of both, so neither pays for a cold cache
    (void)duBytes(root);
    std::vector<WalkResult> walks;
    std::vector<std::int64_t> duTotals;
    std::vector<double> duSeconds;
    std::vector<double> ratios;
    std::vector<double> oneThreadSeconds;
    std::vector<double> oneThreadRatios;
    const auto timedDu = [&] {
        std::optional<std::int64_t> du;
        const double seconds = secondsOf([&] { du = duBytes(root); });
        duTotals.push_back(du.value_or(-1));
        return seconds;
    };
    for (int i = 0; i < rounds; ++i) {
        const WalkResult single = walk(root, oneThread);
        oneThreadSeconds.push_back(single.seconds);
        oneThreadRatios.push_back(single.seconds / timedDu());
        walks.push_back(walk(root, manyThreads));
        duSeconds.push_back(timedDu());
        ratios.push_back(walks.back().seconds / duSeconds.back());
    }
    std::vector<double> coldSeconds;
    std::vector<double> coldDuSeconds;
    std::vector<double> coldRatios;
    if (cold && ::geteuid() != 0) {
        std::fprintf(stderr, "--cold needs root to drop the page cache; cold runs skipped\n");
        cold = false;
    }
    for (int i = 0; cold && i < rounds; ++i) {
        if (!dropCaches()) {
            std::fprintf(stderr, "could not drop the page cache; cold runs skipped\n");
            cold = false;
            break;
        }
        coldSeconds.push_back(walk(root, manyThreads).seconds);
        (void)dropCaches();
        coldDuSeconds.push_back(timedDu());
        coldRatios.push_back(coldSeconds.back() / coldDuSeconds.back());
    }

    const auto field = [&](auto member) {
        std::vector<std::int64_t> values;
        for (const WalkResult& w : walks) values.push_back(static_cast<std::int64_t>(member(w)));
        return median(values);
    };
    const std::int64_t storeEntries = field([](const WalkResult& w) { return w.storeEntries; });
    const std::int64_t heap = field([](const WalkResult& w) { return w.storeHeapBytes; });
    std::printf("root=%s\n", root.c_str());
    std::printf("rounds=%d\n", rounds);
    std::printf("threads=%d\n", threads);
    std::printf("scanner_bytes=%lld\n",
                static_cast<long long>(field([](const WalkResult& w) { return w.stats.bytes; })));
    std::printf("du_bytes=%lld\n", static_cast<long long>(median(duTotals)));
    std::printf("files=%lld\n",
                static_cast<long long>(field([](const WalkResult& w) { return w.stats.files; })));
    std::printf("dirs=%lld\n",
                static_cast<long long>(field([](const WalkResult& w) { return w.stats.dirs; })));
    std::printf(
        "unreadable=%lld\n",
        static_cast<long long>(field([](const WalkResult& w) { return w.stats.unreadable; })));
    std::printf("store_entries=%lld\n", static_cast<long long>(storeEntries));
    std::printf(
        "store_bytes_per_folder=%.1f\n",
        storeEntries > 0 ? static_cast<double>(heap) / static_cast<double>(storeEntries) : 0.0);
    std::vector<double> scannerSeconds;
    for (const WalkResult& w : walks) scannerSeconds.push_back(w.seconds);
    std::printf("scanner_seconds=%.3f\n", median(scannerSeconds));
    std::printf("du_seconds=%.3f\n", median(duSeconds));
    std::printf("ratio=%.3f\n", median(ratios));
    std::printf("scanner_seconds_1thread=%.3f\n", median(oneThreadSeconds));
    std::printf("ratio_1thread=%.3f\n", median(oneThreadRatios));
    if (cold) {
        std::printf("scanner_seconds_cold=%.3f\n", median(coldSeconds));
        std::printf("du_seconds_cold=%.3f\n", median(coldDuSeconds));
        std::printf("ratio_cold=%.3f\n", median(coldRatios));
    }
    std::printf("peak_rss_mb=%.1f\n", peakRssMegabytes());
    if (extras) {
        benchRemoveSubtree();
        benchList();
    }
    return 0;
}

}  // namespace
}  // namespace kelvane

int main(int argc, char** argv) {
    return kelvane::run(argc, argv);
}
