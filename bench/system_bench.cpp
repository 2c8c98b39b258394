// kelvane-system-bench [--files N] [--base FOLDER]
//
// Times the deletion layer against the plain tools it stands in for and prints medians of 5
// rounds as key=value lines:
//   shell_drain_mib_per_s   Shell::run collecting 64 MiB from stdout and 64 MiB from stderr
//   producer_mib_per_s      the same child writing to /dev/null instead (its own cost)
//   shell_spawn_ms          Shell::run of /bin/true (start-up cost per tool call)
//   remove_ms / rm_ms       TreeRemover::remove vs /bin/rm -rf on a tree of N files
//   remove_counted_ms       TreeRemover::remove with the deletion's progress counted and
//                           reported (what the busy overlay shows), same tree, same round
//   trash_ms / trash_put_ms Trash::moveToTrash vs trash-put for N/10 files (home trash in a
//                           temporary folder)

#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "bench_median.h"
#include "system/cleaner.h"
#include "system/deletion_progress.h"
#include "system/shell.h"
#include "system/trash.h"
#include "system/tree_remover.h"

namespace kelvane {
namespace {

using Clock = std::chrono::steady_clock;
constexpr int rounds = 5;

double millisecondsOf(const std::function<void()>& work) {
    const auto start = Clock::now();
    work();
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

void makeTree(const std::string& root, int files) {
    mkdir(root.c_str(), 0755);
    for (int d = 0; d * 100 < files; ++d) {
        const std::string folder = root + "/d" + std::to_string(d);
        mkdir(folder.c_str(), 0755);
        for (int f = 0; f < 100 && d * 100 + f < files; ++f) {
            std::ofstream(folder + "/f" + std::to_string(f)) << "x";
        }
    }
}

std::vector<std::string> makeFlat(const std::string& root, int files) {
    mkdir(root.c_str(), 0755);
    std::vector<std::string> paths;
    for (int f = 0; f < files; ++f) {
        paths.push_back(root + "/f" + std::to_string(f));
        std::ofstream(paths.back()) << "x";
    }
    return paths;
}

int run(int files, const std::string& under) {
    std::string pattern = under + "/kelvane-system-bench-XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr) return 1;
    const std::string base = pattern;
    setenv("XDG_DATA_HOME", (base + "/data").c_str(), 1);

    const std::string producer =
        "head -c 67108864 /dev/zero & head -c 67108864 /dev/zero >&2; wait";
    std::vector<double> drain, alone, spawn, remove, counted, rm, trash, trashPut;
    for (int r = 0; r < rounds; ++r) {
        drain.push_back(128e3 / millisecondsOf([&] { Shell::run("/bin/sh", {"-c", producer}); }));
        alone.push_back(128e3 / millisecondsOf([&] {
                            Shell::run("/bin/sh", {"-c", "(" + producer + ") >/dev/null 2>&1"});
                        }));
        spawn.push_back(millisecondsOf([] { Shell::run("/bin/true", {}); }));

        const std::string a = base + "/a" + std::to_string(r), b = base + "/b" + std::to_string(r);
        const std::string c = base + "/c" + std::to_string(r);
        makeTree(a, files);
        makeTree(b, files);
        makeTree(c, files);
        remove.push_back(millisecondsOf([&] { TreeRemover::remove(a); }));
        rm.push_back(millisecondsOf([&] { Shell::run("/bin/rm", {"-rf", b}); }));
        std::size_t reports = 0;
        DeletionProgress progress(1, [&reports](const DeletionCounts&) { ++reports; });
        counted.push_back(millisecondsOf([&] {
            DeletionRules::Locator locator(DeletionRules::LinkTrust::currentUser());
            TreeRemover::remove(c, locator, &progress);
        }));

        const auto ours = makeFlat(base + "/t" + std::to_string(r), files / 10);
        const auto theirs = makeFlat(base + "/u" + std::to_string(r), files / 10);
        trash.push_back(millisecondsOf([&] {
            for (const std::string& p : ours) Trash::moveToTrash(p);
        }));
        if (access("/usr/bin/trash-put", X_OK) == 0) {
            std::vector<std::string> arguments = theirs;
            trashPut.push_back(
                millisecondsOf([&] { Shell::run("/usr/bin/trash-put", arguments); }));
        }
    }
    std::printf("files=%d\n", files);
    std::printf("shell_drain_mib_per_s=%.0f\n", median(drain));
    std::printf("producer_mib_per_s=%.0f\n", median(alone));
    std::printf("shell_spawn_ms=%.2f\n", median(spawn));
    std::printf("remove_ms=%.1f\nrm_ms=%.1f\n", median(remove), median(rm));
    std::printf("remove_counted_ms=%.1f\ncounted_over_plain=%.3f\n", median(counted),
                median(counted) / median(remove));
    std::printf("trash_files=%d\ntrash_ms=%.1f\n", files / 10, median(trash));
    if (!trashPut.empty()) std::printf("trash_put_ms=%.1f\n", median(trashPut));
    Shell::run("/bin/rm", {"-rf", base});
    return 0;
}

}  // namespace
}  // namespace kelvane

int main(int argc, char** argv) {
    int files = 20000;
    std::string base = "/tmp";
    for (int i = 1; i + 1 < argc; i += 2) {
        const std::string option = argv[i];
        if (option == "--files") files = std::atoi(argv[i + 1]);
        if (option == "--base") base = argv[i + 1];
    }
    return kelvane::run(std::max(files, 10), base);
}
