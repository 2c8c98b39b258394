// What the history grows to: launches of the model over a home folder (normally one built by
// scripts/make-demo-home.sh), one a day by an injected clock, each after a few folders of the
// home changed, every launch recording every category as the window does.
//
//   kelvane-model-history-launches-bench HOME [LAUNCHES]
//
// The home is changed below HOME/.cache/kelvane-history-bench only (made and removed here).
// Prints key=value lines: the history's files, their total and largest size, and how long
// computing the card took at the end.
#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <random>
#include <string>

#include "demo_environment.h"
#include "model/app_model.h"
#include "model/manual_main_queue.h"
#include "scan/disk_capacity.h"

namespace {

namespace fs = std::filesystem;

bool settled(const kelvane::AppModel& model) {
    if (kelvane::runningTaskCount() != 0 || !model.historyRead()) return false;
    return std::none_of(model.states().begin(), model.states().end(), [](const auto& entry) {
        return entry.second.status == kelvane::CategoryState::Status::scanning;
    });
}

// A few folders change a little each day: one grows, one is replaced, now and then one goes.
void changeHome(const fs::path& area, int day, std::mt19937& random) {
    fs::create_directories(area);
    const fs::path grows = area / ("folder-" + std::to_string(random() % 20));
    fs::create_directories(grows);
    std::ofstream(grows / ("day-" + std::to_string(day)), std::ios::binary)
        << std::string(4096 * (1 + random() % 64), 'x');
    if (day % 5 == 0) fs::remove_all(area / ("folder-" + std::to_string(random() % 20)));
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: %s HOME [LAUNCHES]\n", argv[0]);
        return 2;
    }
    const std::string home = argv[1];
    const int launches = argc > 2 ? std::atoi(argv[2]) : 100;
    char folder[] = "/tmp/kelvane-history-launches-XXXXXX";
    if (::mkdtemp(folder) == nullptr) return 1;
    const fs::path area = fs::path(home) / ".cache" / "kelvane-history-bench";
    std::mt19937 random(7);
    std::int64_t clock = 1'750'000'000;
    double cardMs = 0;
    for (int day = 0; day < launches; ++day) {
        changeHome(area, day, random);
        const auto queue = std::make_shared<kelvane::ManualMainQueue>();
        kelvane::ModelEnvironment env = kelvane::demoEnvironment(home);
        env.historyFolder = folder;
        env.clock = [&clock] { return clock; };
        const auto model =
            kelvane::AppModel::create(queue, std::make_shared<kelvane::SystemServices>(), env);
        model->startInitialScan();
        if (!queue->drainUntil([&] { return settled(*model); }, std::chrono::minutes(5))) {
            std::fprintf(stderr, "launch %d did not settle\n", day);
            return 1;
        }
        if (day == launches - 1) {
            // The card once more, a month back: the longest comparison there is.
            const auto start = std::chrono::steady_clock::now();
            model->setComparisonPoint(kelvane::ComparisonPoint::monthAgo);
            queue->drainUntil([&] { return kelvane::runningTaskCount() == 0; });
            cardMs =
                std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
                    .count();
        }
        clock += 24 * 60 * 60;
    }
    std::uintmax_t total = 0;
    std::uintmax_t largest = 0;
    int files = 0;
    for (const auto& entry : fs::directory_iterator(folder)) {
        total += entry.file_size();
        largest = std::max(largest, entry.file_size());
        ++files;
    }
    std::printf("launches=%d\nhistory_files=%d\nhistory_bytes=%ju\nlargest_file_bytes=%ju\n",
                launches, files, total, largest);
    std::printf("card_month_ago_ms=%.1f\n", cardMs);
    fs::remove_all(folder);
    fs::remove_all(area);
    return 0;
}
