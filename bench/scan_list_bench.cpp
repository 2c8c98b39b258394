// kelvane-scan-list-bench [--rounds N] [--million] [--base DIR]
//
// Times EntryLister::list on one generated folder of 100,000 empty files (with --million also on
// one of 1,000,000) and prints, per size, the median of the warm listings and the peak resident
// memory of the process while listing, as key=value lines. The folders are made under DIR
// (default /dev/shm, a memory file system: a million files on a disk take minutes to make) and
// removed afterwards; the file system type is printed with the figures.

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "bench_median.h"
#include "scan/entry_lister.h"
#include "scan/size_store.h"

namespace kelvane {
namespace {

using Clock = std::chrono::steady_clock;

// The resident-memory high-water mark since the last reset, in MiB (-1 when unknown).
double peakResidentMegabytes() {
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line)) {
        if (line.rfind("VmHWM:", 0) == 0) return std::atof(line.c_str() + 6) / 1024.0;
    }
    return -1;
}

// Lets the next peak be measured from the current resident memory on.
void resetPeak() {
    std::ofstream("/proc/self/clear_refs") << "5";
}

std::string fileSystemOf(const std::string& path) {
    struct statfs info {};
    if (::statfs(path.c_str(), &info) != 0) return "unknown";
    switch (info.f_type) {
        case 0x01021994:
            return "tmpfs";
        case 0xEF53:
            return "ext4";
        default:
            return "other";
    }
}

bool makeFiles(const std::string& folder, int files) {
    if (::mkdir(folder.c_str(), 0755) != 0) return false;
    const int dir = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (dir < 0) return false;
    bool ok = true;
    for (int i = 0; i < files && ok; ++i) {
        const std::string name = "file-" + std::to_string(i);
        const int fd = ::openat(dir, name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
        ok = fd >= 0 && ::close(fd) == 0;
    }
    return ::close(dir) == 0 && ok;
}

void removeFiles(const std::string& folder, int files) {
    const int dir = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    for (int i = 0; dir >= 0 && i < files; ++i) {
        (void)::unlinkat(dir, ("file-" + std::to_string(i)).c_str(), 0);
    }
    if (dir >= 0) (void)::close(dir);
    if (::rmdir(folder.c_str()) != 0) std::fprintf(stderr, "rmdir: %s\n", std::strerror(errno));
}

void bench(const std::string& base, int files, int rounds) {
    const std::string folder = base + "/kelvane-list-bench-" + std::to_string(::getpid());
    if (!makeFiles(folder, files)) {
        std::fprintf(stderr, "making %d files in %s: %s\n", files, folder.c_str(),
                     std::strerror(errno));
        removeFiles(folder, files);
        return;
    }
    const SizeStore store;
    std::vector<double> seconds;
    std::size_t listed = 0;
    double peak = 0;
    for (int round = 0; round <= rounds; ++round) {  // round 0 warms the cache
        resetPeak();
        const auto start = Clock::now();
        {
            const auto entries = EntryLister::list(folder, store);
            listed = entries ? entries->size() : 0;
            if (round > 0)
                seconds.push_back(std::chrono::duration<double>(Clock::now() - start).count());
        }
        peak = std::max(peak, peakResidentMegabytes());
    }
    std::printf("list_%d_entries=%zu\n", files, listed);
    std::printf("list_%d_seconds=%.3f\n", files, median(seconds));
    std::printf("list_%d_peak_rss_mb=%.1f\n", files, peak);
    removeFiles(folder, files);
}

int run(int argc, char** argv) {
    int rounds = 5;
    bool million = false;
    std::string base = "/dev/shm";
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "--rounds" && i + 1 < argc) {
            rounds = std::max(1, std::atoi(argv[++i]));
        } else if (arg == "--million") {
            million = true;
        } else if (arg == "--base" && i + 1 < argc) {
            base = argv[++i];
        } else {
            std::fprintf(stderr,
                         "usage: kelvane-scan-list-bench [--rounds N] [--million] [--base DIR]\n");
            return 2;
        }
    }
    std::printf("list_base=%s\nlist_file_system=%s\nrounds=%d\n", base.c_str(),
                fileSystemOf(base).c_str(), rounds);
    bench(base, 100'000, rounds);
    if (million) bench(base, 1'000'000, rounds);
    return 0;
}

}  // namespace
}  // namespace kelvane

int main(int argc, char** argv) {
    return kelvane::run(argc, argv);
}
