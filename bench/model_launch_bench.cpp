// The launch scan as the window starts it, over a home folder given on the
// command line (normally one built by scripts/make-demo-home.sh): how long
// until every launch category is measured, and the longest single step the
// main thread had to run meanwhile.
//
//   kelvane-model-launch-bench HOME [RUNS]
//
// Prints key=value lines; the first run meets a cold or warm page cache as the
// machine has it, the later ones a warm one.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>

#include "core/catalog.h"
#include "model/app_model.h"
#include "model/manual_main_queue.h"
#include "scan/disk_capacity.h"

namespace {

using kelvane::CategoryState;

struct LaunchFigures {
    double wallMs = 0;
    double longestStepMs = 0;
    int done = 0;
    int missing = 0;
    std::int64_t bytes = 0;
    std::int64_t files = 0;
};

bool launchFinished(const kelvane::AppModel& model) {
    if (kelvane::runningTaskCount() != 0) return false;
    for (const auto& [id, state] : model.states()) {
        if (state.status == CategoryState::Status::scanning) return false;
    }
    return true;
}

std::optional<LaunchFigures> launchOnce(const std::string& home) {
    const auto queue = std::make_shared<kelvane::ManualMainQueue>();
    const std::string trashFiles = home + "/.local/share/Trash/files";
    kelvane::ModelEnvironment env{home, trashFiles,
                                  kelvane::Catalog::build(home, home + "/tmpbase", trashFiles),
                                  &kelvane::DiskCapacity::current, nullptr};
    const auto model =
        kelvane::AppModel::create(queue, std::make_shared<kelvane::SystemServices>(), env);

    const auto start = std::chrono::steady_clock::now();
    model->startInitialScan();
    if (!queue->drainUntil([&] { return launchFinished(*model); }, std::chrono::minutes(10))) {
        return std::nullopt;
    }
    const auto end = std::chrono::steady_clock::now();

    LaunchFigures figures;
    figures.wallMs = std::chrono::duration<double, std::milli>(end - start).count();
    figures.longestStepMs = std::chrono::duration<double, std::milli>(queue->longestStep()).count();
    for (const auto& [id, state] : model->states()) {
        if (state.status == CategoryState::Status::done) {
            ++figures.done;
            figures.bytes += state.bytes;
            figures.files += state.files;
        }
        if (state.status == CategoryState::Status::missing) ++figures.missing;
    }
    return figures;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2 || argc > 3) {
        std::fprintf(stderr, "usage: %s HOME [RUNS]\n", argv[0]);
        return 2;
    }
    const std::string home = argv[1];
    const int runs = argc == 3 ? std::atoi(argv[2]) : 3;
    if (runs < 1) {
        std::fprintf(stderr, "RUNS must be at least 1\n");
        return 2;
    }
    double best = 0;
    double worstStep = 0;
    for (int run = 1; run <= runs; ++run) {
        const std::optional<LaunchFigures> f = launchOnce(home);
        if (!f) {
            std::fprintf(stderr, "the launch scan did not finish within 10 minutes\n");
            return 1;
        }
        std::printf(
            "run=%d launch_scan_ms=%.1f longest_main_step_ms=%.3f categories_done=%d "
            "categories_missing=%d measured_bytes=%lld measured_files=%lld\n",
            run, f->wallMs, f->longestStepMs, f->done, f->missing, static_cast<long long>(f->bytes),
            static_cast<long long>(f->files));
        best = run == 1 ? f->wallMs : std::min(best, f->wallMs);
        worstStep = std::max(worstStep, f->longestStepMs);
    }
    std::printf("launch_scan_ms_best=%.1f\nlongest_main_step_ms_max=%.3f\n", best, worstStep);
    return 0;
}
