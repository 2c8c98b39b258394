// The launch scan as the window starts it, over a home folder given on the
// command line (normally one built by scripts/make-demo-home.sh): how long
// until every launch category is measured, the longest single step the main
// thread had to run meanwhile, and the main thread's time in all. Each run is a
// pair: a launch that records nothing, then one that records every category's
// measurement in a history kept across the runs, so the cost of recording is
// the difference within each pair.
//
//   kelvane-model-launch-bench HOME [RUNS]
//
// Prints key=value lines; the first run meets a cold or warm page cache as the
// machine has it, the later ones a warm one.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "bench_median.h"
#include "core/catalog.h"
#include "demo_environment.h"
#include "model/app_model.h"
#include "model/manual_main_queue.h"
#include "scan/disk_capacity.h"

namespace {

using kelvane::CategoryState;

struct LaunchFigures {
    double wallMs = 0;     // until every category shows its figure
    double settledMs = 0;  // until the work behind it (the history's files too) has ended
    double longestStepMs = 0;
    double mainThreadMs = 0;
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

std::optional<LaunchFigures> launchOnce(const std::string& home, const std::string& history) {
    const auto queue = std::make_shared<kelvane::ManualMainQueue>();
    kelvane::ModelEnvironment env = kelvane::demoEnvironment(home);
    env.historyFolder = history;
    const auto model =
        kelvane::AppModel::create(queue, std::make_shared<kelvane::SystemServices>(), env);

    const auto start = std::chrono::steady_clock::now();
    model->startInitialScan();
    if (!queue->drainUntil([&] { return model->scanTasks().empty(); }, std::chrono::minutes(10))) {
        return std::nullopt;
    }
    const auto measured = std::chrono::steady_clock::now();
    if (!queue->drainUntil([&] { return launchFinished(*model); }, std::chrono::minutes(10))) {
        return std::nullopt;
    }
    const auto end = std::chrono::steady_clock::now();

    LaunchFigures figures;
    figures.wallMs = std::chrono::duration<double, std::milli>(measured - start).count();
    figures.settledMs = std::chrono::duration<double, std::milli>(end - start).count();
    figures.longestStepMs = std::chrono::duration<double, std::milli>(queue->longestStep()).count();
    figures.mainThreadMs = std::chrono::duration<double, std::milli>(queue->busyTime()).count();
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
    char folder[] = "/tmp/kelvane-launch-history-XXXXXX";
    if (::mkdtemp(folder) == nullptr) return 1;
    std::vector<double> wallOff, wallOn, mainOff, mainOn, wallRatio, settledRatio;
    double worstStep = 0;
    for (int run = 1; run <= runs; ++run) {
        const std::optional<LaunchFigures> off = launchOnce(home, "");
        const std::optional<LaunchFigures> on = launchOnce(home, folder);
        if (!off || !on) {
            std::fprintf(stderr, "the launch scan did not finish within 10 minutes\n");
            return 1;
        }
        for (const auto& [label, f] : {std::pair{"off", *off}, std::pair{"on", *on}}) {
            std::printf(
                "run=%d history=%s launch_scan_ms=%.1f settled_ms=%.1f main_thread_ms=%.2f "
                "longest_main_step_ms=%.3f categories_done=%d categories_missing=%d "
                "measured_bytes=%lld measured_files=%lld\n",
                run, label, f.wallMs, f.settledMs, f.mainThreadMs, f.longestStepMs, f.done,
                f.missing, static_cast<long long>(f.bytes), static_cast<long long>(f.files));
            worstStep = std::max(worstStep, f.longestStepMs);
        }
        wallOff.push_back(off->wallMs);
        wallOn.push_back(on->wallMs);
        mainOff.push_back(off->mainThreadMs);
        mainOn.push_back(on->mainThreadMs);
        wallRatio.push_back(on->wallMs / off->wallMs);
        settledRatio.push_back(on->settledMs / off->settledMs);
    }
    std::vector<double> mainAdded;
    for (std::size_t i = 0; i < mainOn.size(); ++i) mainAdded.push_back(mainOn[i] - mainOff[i]);
    std::printf("launch_scan_ms_median_without_history=%.1f\n", kelvane::median(wallOff));
    std::printf("launch_scan_ms_median_with_history=%.1f\n", kelvane::median(wallOn));
    std::printf("wall_ratio_with_history_median=%.3f\n", kelvane::median(wallRatio));
    std::printf("settled_ratio_with_history_median=%.3f\n", kelvane::median(settledRatio));
    std::printf("main_thread_ms_added_by_history_median=%.2f\n", kelvane::median(mainAdded));
    std::printf("longest_main_step_ms_max=%.3f\n", worstStep);
    std::error_code ignored;
    std::filesystem::remove_all(folder, ignored);
    return 0;
}
