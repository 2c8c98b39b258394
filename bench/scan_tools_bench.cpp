// kelvane-scan-tools-bench [--rounds N] [--scan PROGRAM] [--only-export] ROOT [EXPORT]
//
// Times kelvane-scan against du and its peers on ROOT (a tree made by kelvane-scan-make-tree),
// one run of each per round, after one warm-up round, and prints medians as key=value lines:
// each tool's seconds, its ratio to du's run of the same round (so every ratio compares runs
// under the same load), and its peak resident memory (the child's ru_maxrss). The tools:
//   du            du -sB1 -x ROOT
//   scan          kelvane-scan ROOT
//   scan_export   kelvane-scan -o /dev/null ROOT
//   ncdu          ncdu -x -o /dev/null ROOT
//   gdu           gdu -n -x -p ROOT
// and export_ratio, the export's time over the bare walk's in the same round.
// --only-export runs du, scan and scan_export alone (the memory figure on a big tree).
//
// With EXPORT (a file kelvane-scan -o wrote), it also reads that export into an ExportedTree in
// this process and prints the median time to open it, the entries, the tree's bytes per entry
// and the growth of this process's peak memory per entry, and the time to list the widest
// folder's children (largest first) with their names.
#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <functional>
#include <map>
#include <string>
#include <variant>
#include <vector>

#include "bench_median.h"
#include "scan/exported_tree.h"

extern char** environ;

namespace kelvane {
namespace {

using Clock = std::chrono::steady_clock;

struct ChildRun {
    double seconds = -1;
    long maxRssKb = 0;
    int status = -1;
};

// Runs argv with its outputs on /dev/null and measures its wall time and peak memory.
ChildRun runChild(const std::vector<std::string>& argv) {
    ChildRun run;
    posix_spawn_file_actions_t actions;
    if (::posix_spawn_file_actions_init(&actions) != 0) return run;
    (void)::posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    (void)::posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
    std::vector<char*> args;
    for (const std::string& a : argv) args.push_back(const_cast<char*>(a.c_str()));
    args.push_back(nullptr);
    const auto start = Clock::now();
    pid_t child = 0;
    const int spawned = ::posix_spawn(&child, args[0], &actions, nullptr, args.data(), environ);
    (void)::posix_spawn_file_actions_destroy(&actions);
    if (spawned != 0) return run;
    int status = 0;
    struct rusage usage {};
    while (::wait4(child, &status, 0, &usage) < 0) {
        if (errno != EINTR) return run;
    }
    run.seconds = std::chrono::duration<double>(Clock::now() - start).count();
    run.maxRssKb = usage.ru_maxrss;
    run.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return run;
}

volatile std::int64_t keepAlive = 0;

long selfMaxRssKb() {
    struct rusage usage {};
    return ::getrusage(RUSAGE_SELF, &usage) == 0 ? usage.ru_maxrss : 0;
}

std::string besideSelf(const std::string& relative) {
    char self[4096];
    const ssize_t n = ::readlink("/proc/self/exe", self, sizeof self - 1);
    if (n <= 0) return relative;
    std::string path(self, static_cast<std::size_t>(n));
    return path.substr(0, path.rfind('/') + 1) + relative;
}

void benchTools(const std::string& root, const std::string& scan, int rounds, bool onlyExport) {
    struct Tool {
        std::string key;
        std::vector<std::string> argv;
    };
    std::vector<Tool> tools = {
        {"du", {"/usr/bin/du", "-sB1", "-x", root}},
        {"scan", {scan, root}},
        {"scan_export", {scan, "-o", "/dev/null", root}},
    };
    if (!onlyExport) {
        tools.push_back({"ncdu", {"/usr/bin/ncdu", "-x", "-o", "/dev/null", root}});
        tools.push_back({"gdu", {"/usr/bin/gdu", "-n", "-x", "-p", root}});
    }
    std::map<std::string, std::vector<double>> seconds, ratios;
    std::map<std::string, std::vector<long>> memory;
    std::vector<double> exportRatios;
    for (int round = -1; round < rounds; ++round) {  // round -1 warms the caches up
        std::map<std::string, ChildRun> runs;
        for (const Tool& tool : tools) {
            runs[tool.key] = runChild(tool.argv);
            if (runs[tool.key].status != 0) {
                std::fprintf(stderr, "%s exited with status %d\n", tool.key.c_str(),
                             runs[tool.key].status);
            }
        }
        if (round < 0) continue;
        for (const Tool& tool : tools) {
            seconds[tool.key].push_back(runs[tool.key].seconds);
            ratios[tool.key].push_back(runs[tool.key].seconds / runs["du"].seconds);
            memory[tool.key].push_back(runs[tool.key].maxRssKb);
        }
        exportRatios.push_back(runs["scan_export"].seconds / runs["scan"].seconds);
    }
    std::printf("rounds=%d\n", rounds);
    for (const Tool& tool : tools) {
        std::printf("%s_seconds=%.3f %s_ratio=%.3f %s_peak_mb=%.1f\n", tool.key.c_str(),
                    median(seconds[tool.key]), tool.key.c_str(), median(ratios[tool.key]),
                    tool.key.c_str(), median(memory[tool.key]) / 1024.0);
    }
    std::printf("export_ratio=%.3f\n", median(exportRatios));
}

int benchOpen(const std::string& file, int rounds) {
    std::vector<double> seconds;
    std::size_t entries = 0;
    std::size_t treeBytes = 0;
    double listMs = 0;
    const long before = selfMaxRssKb();
    for (int round = 0; round < rounds; ++round) {
        const int fd = ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
        if (fd < 0) {
            std::fprintf(stderr, "%s: %s\n", file.c_str(), std::strerror(errno));
            return 1;
        }
        const auto start = Clock::now();
        auto loaded = ExportedTree::read(fd);
        seconds.push_back(std::chrono::duration<double>(Clock::now() - start).count());
        (void)::close(fd);
        if (const auto* error = std::get_if<ExportError>(&loaded)) {
            std::fprintf(stderr, "at %llu: %s\n", static_cast<unsigned long long>(error->offset),
                         error->message.c_str());
            return 1;
        }
        const ExportedTree& tree = std::get<ExportedTree>(loaded);
        entries = tree.size();
        treeBytes = tree.memoryBytes();
        ExportedTree::Id widest = tree.root();
        for (ExportedTree::Id id = 0; id < tree.size(); ++id) {
            if (tree.children(id).size() > tree.children(widest).size()) widest = id;
        }
        std::vector<double> lists;
        for (int i = 0; i < 101; ++i) {
            const auto listStart = Clock::now();
            // What a view reads per row: the name and the size. The sum keeps the reads alive.
            std::int64_t read = 0;
            for (const ExportedTree::Id child : tree.children(widest)) {
                read += static_cast<std::int64_t>(tree.name(child).size()) + tree.bytes(child);
            }
            keepAlive = read;
            lists.push_back(
                std::chrono::duration<double, std::milli>(Clock::now() - listStart).count());
        }
        listMs = median(lists);
        std::printf("widest_folder_children=%zu\n", tree.children(widest).size());
    }
    const long grown = selfMaxRssKb() - before;
    std::printf(
        "open_seconds=%.3f entries=%zu tree_bytes_per_entry=%.1f "
        "peak_growth_bytes_per_entry=%.1f\n",
        median(seconds), entries, static_cast<double>(treeBytes) / static_cast<double>(entries),
        static_cast<double>(grown) * 1024.0 / static_cast<double>(entries));
    std::printf("list_widest_ms=%.3f\n", listMs);
    return 0;
}

}  // namespace
}  // namespace kelvane

int main(int argc, char** argv) {
    int rounds = 7;
    bool onlyExport = false;
    std::string scan = kelvane::besideSelf("../src/kelvane-scan");
    std::vector<std::string> positional;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "--rounds" && i + 1 < argc) {
            rounds = std::max(1, std::atoi(argv[++i]));
        } else if (arg == "--scan" && i + 1 < argc) {
            scan = argv[++i];
        } else if (arg == "--only-export") {
            onlyExport = true;
        } else {
            positional.push_back(arg);
        }
    }
    if (positional.empty() || positional.size() > 2) {
        std::fprintf(stderr,
                     "usage: kelvane-scan-tools-bench [--rounds N] [--scan PROGRAM] "
                     "[--only-export] ROOT [EXPORT]\n");
        return 2;
    }
    kelvane::benchTools(positional[0], scan, rounds, onlyExport);
    if (positional.size() == 2) return kelvane::benchOpen(positional[1], 3);
    return 0;
}
