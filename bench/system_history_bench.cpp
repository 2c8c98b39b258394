// kelvane-system-history-bench [--categories N] [--folders N] [--per-day N] [--base FOLDER]
//
// Builds 90 days of history for N categories (default 50) of up to N folders each (default
// 2,000), N measurements a day (default 3), with the small changes launches see: a few folders
// grow or shrink a little, now and then one appears, goes, or is deleted through Kelvane.
// Prints key=value lines, medians of 5 rounds where timed:
//   file_kb_total / file_kb_largest   the saved files
//   measurements_kept                 per category, after the 90-day and 1 MB limits
//   save_all_ms / load_all_ms         every category written / read back
//   card_<point>_ms                   comparing every category with that point and taking the
//                                     card's top 10
//   record_save_ms                    adding one measurement to one category and saving it
//   launches_100_kb_total / _largest  the files after 100 launches, one a day, from nothing
//   rss_mb                            the process's resident memory at the end

#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "bench_median.h"
#include "core/growth.h"
#include "system/history_codec.h"
#include "system/history_file.h"
#include "system/history_limits.h"
#include "system/shell.h"

namespace kelvane {
namespace {

using Clock = std::chrono::steady_clock;
constexpr int rounds = 5;
constexpr std::int64_t start = 1'750'000'000;

double millisecondsOf(const std::function<void()>& work) {
    const auto began = Clock::now();
    work();
    return std::chrono::duration<double, std::milli>(Clock::now() - began).count();
}

// One category's folders as they change from launch to launch.
class Simulated {
  public:
    Simulated(int category, int folders, std::uint64_t seed) : random_(seed), category_(category) {
        root_ = "/home/someone/.cache/category-" + std::to_string(category);
        for (int f = 0; f < folders; ++f) add();
    }

    Measurement next(std::int64_t time) {
        std::uniform_real_distribution<double> chance(0, 1);
        std::vector<FolderSize> deleted;
        for (auto& [path, bytes] : folders_) {
            if (chance(random_) < 0.04) {  // caches mostly grow, a little
                bytes = std::max<std::int64_t>(
                    0, bytes + static_cast<std::int64_t>(bytes * (chance(random_) * 0.12 - 0.03)));
            }
        }
        if (chance(random_) < 0.3) add();
        if (chance(random_) < 0.2 && folders_.size() > 1) {
            const auto gone =
                folders_.begin() + static_cast<std::ptrdiff_t>(random_() % folders_.size());
            if (chance(random_) < 0.5) deleted.push_back({gone->first, gone->second});
            folders_.erase(gone);
        }
        Measurement m{time, 0, {}, std::move(deleted), 0};
        for (const auto& [path, bytes] : folders_) {
            m.folders.push_back({path, bytes});
            m.total += bytes;
        }
        std::sort(m.folders.begin(), m.folders.end(),
                  [](const auto& a, const auto& b) { return a.path < b.path; });
        return m;
    }

  private:
    void add() {
        // Names as caches have them: a tool, then its own folders two levels down.
        const std::string path = root_ + "/tool-" + std::to_string(random_() % 200) + "/data-" +
                                 std::to_string(serial_++) + "-" + std::to_string(category_);
        const double exponent = std::uniform_real_distribution<double>(12, 31)(random_);
        folders_.emplace_back(path, static_cast<std::int64_t>(std::exp2(exponent)));
    }

    std::mt19937_64 random_;
    int category_;
    int serial_ = 0;
    std::string root_;
    std::vector<std::pair<std::string, std::int64_t>> folders_;
};

struct FolderFigures {
    double totalKb = 0;
    double largestKb = 0;
};

FolderFigures measureFiles(const std::vector<CategoryHistory>& histories) {
    FolderFigures figures;
    for (const auto& h : histories) {
        const double kb = static_cast<double>(HistoryCodec::encode(h).size()) / 1000;
        figures.totalKb += kb;
        figures.largestKb = std::max(figures.largestKb, kb);
    }
    return figures;
}

double residentMb() {
    std::ifstream statm("/proc/self/statm");
    long pages = 0, resident = 0;
    statm >> pages >> resident;
    return static_cast<double>(resident) * static_cast<double>(sysconf(_SC_PAGESIZE)) / 1e6;
}

int run(int categories, int folders, int perDay, const std::string& under) {
    std::string pattern = under + "/kelvane-history-bench-XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr) return 1;
    const std::string base = pattern;
    const std::string folder = base + "/state/kelvane";

    // Ninety days, built in memory and limited once at the end.
    const int launches = 90 * perDay;
    const std::int64_t step = Growth::day / perDay;
    const std::int64_t now = start + (launches - 1) * step;
    std::vector<CategoryHistory> histories;
    std::vector<Simulated> simulated;
    for (int c = 0; c < categories; ++c) {
        simulated.emplace_back(c, folders, 1000 + c);
        histories.emplace_back("category_" + std::to_string(c));
        for (int l = 0; l < launches; ++l)
            histories.back().append(simulated.back().next(start + l * step));
        HistoryLimits::apply(histories.back(), now);
    }
    const FolderFigures files = measureFiles(histories);
    std::vector<double> save, load, record;
    std::vector<double> card[3];
    for (int r = 0; r < rounds; ++r) {
        save.push_back(millisecondsOf([&] {
            for (const auto& h : histories) HistoryFile::save(folder, h);
        }));
        LoadedHistories loaded;
        load.push_back(millisecondsOf([&] { loaded = HistoryFile::loadAll(folder); }));
        if (loaded.histories.size() != histories.size()) return 2;
        for (const auto point :
             {ComparisonPoint::previous, ComparisonPoint::weekAgo, ComparisonPoint::monthAgo}) {
            card[static_cast<int>(point)].push_back(millisecondsOf([&] {
                std::vector<CategoryGrowth> growth;
                for (const auto& h : loaded.histories)
                    growth.push_back(Growth::compare(h, point, now));
                if (Growth::card(growth, 10).empty()) std::abort();
            }));
        }
        const Measurement m = simulated[0].next(now + r + 1);
        record.push_back(millisecondsOf([&] {
            histories[0] = HistoryLimits::record(std::move(histories[0]), m, now + r + 1);
            HistoryFile::save(folder, histories[0]);
        }));
    }
    std::printf("categories=%d\nfolders=%d\nmeasurements_per_day=%d\n", categories, folders,
                perDay);
    std::printf("measurements_kept=%zu\n", histories[1].size());
    std::printf("file_kb_total=%.0f\nfile_kb_largest=%.0f\n", files.totalKb, files.largestKb);
    std::printf("save_all_ms=%.1f\nload_all_ms=%.1f\n", median(save), median(load));
    std::printf("card_previous_ms=%.2f\ncard_week_ms=%.2f\ncard_month_ms=%.2f\n", median(card[0]),
                median(card[1]), median(card[2]));
    std::printf("record_save_ms=%.2f\n", median(record));

    // A hundred launches, one a day, from no history: what a user's folder grows to.
    const std::string fresh = base + "/launches";
    std::vector<CategoryHistory> launched;
    std::vector<Simulated> again;
    for (int c = 0; c < categories; ++c) {
        again.emplace_back(c, folders, 5000 + c);
        launched.emplace_back("category_" + std::to_string(c));
    }
    for (int l = 0; l < 100; ++l) {
        const std::int64_t time = start + l * Growth::day;
        for (int c = 0; c < categories; ++c) {
            launched[c] = HistoryLimits::record(std::move(launched[c]), again[c].next(time), time);
            HistoryFile::save(fresh, launched[c]);
        }
    }
    const FolderFigures after = measureFiles(launched);
    std::printf("launches_100_kb_total=%.0f\nlaunches_100_kb_largest=%.0f\n", after.totalKb,
                after.largestKb);
    std::printf("rss_mb=%.0f\n", residentMb());
    Shell::run("/bin/rm", {"-rf", base});
    return 0;
}

}  // namespace
}  // namespace kelvane

int main(int argc, char** argv) {
    int categories = 50, folders = 2000, perDay = 3;
    std::string base = "/tmp";
    for (int i = 1; i + 1 < argc; i += 2) {
        const std::string option = argv[i];
        if (option == "--categories") categories = std::atoi(argv[i + 1]);
        if (option == "--folders") folders = std::atoi(argv[i + 1]);
        if (option == "--per-day") perDay = std::atoi(argv[i + 1]);
        if (option == "--base") base = argv[i + 1];
    }
    return kelvane::run(std::max(categories, 1), std::max(folders, 1), std::max(perDay, 1), base);
}
