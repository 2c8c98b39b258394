#include "model/history_keeper.h"

#include <algorithm>
#include <set>
#include <utility>

#include "system/history_limits.h"

namespace kelvane {

void HistoryKeeper::loadLocked() {
    if (loaded_) return;
    loaded_ = true;
    LoadedHistories loaded = HistoryFile::loadAll(folder_);
    for (CategoryHistory& history : loaded.histories) {
        const std::string id = history.categoryID();
        histories_.insert_or_assign(id, std::move(history));
    }
    loadProblems_ = std::move(loaded.problems);
}

std::vector<HistoryError> HistoryKeeper::load() {
    const std::lock_guard guard(mutex_);
    loadLocked();
    return std::exchange(loadProblems_, {});
}

void HistoryKeeper::record(const std::string& categoryID, const Measurement& m, std::int64_t now) {
    const std::lock_guard guard(mutex_);
    loadLocked();
    auto it = histories_.find(categoryID);
    CategoryHistory before =
        it != histories_.end() ? std::move(it->second) : CategoryHistory(categoryID);
    histories_.insert_or_assign(categoryID, HistoryLimits::record(std::move(before), m, now));
    unsaved_.insert(categoryID);
}

std::optional<HistoryError> HistoryKeeper::save() {
    const std::lock_guard guard(mutex_);
    std::optional<HistoryError> first;
    // Kept in memory whatever happens to the files: this session still compares.
    for (const std::string& id : std::exchange(unsaved_, {})) {
        std::optional<HistoryError> error = HistoryFile::save(folder_, histories_.at(id));
        if (error && !first) first = std::move(error);
    }
    return first;
}

GrowthReport HistoryKeeper::report(ComparisonPoint point, std::int64_t now,
                                   const std::vector<std::string>& shown, std::size_t limit) {
    const std::lock_guard guard(mutex_);
    loadLocked();
    GrowthReport report;
    report.point = point;
    std::vector<CategoryGrowth> growths;
    for (const std::string& id : shown) {
        const auto it = histories_.find(id);
        if (it == histories_.end() || it->second.empty()) continue;
        CategoryGrowth growth = Growth::compare(it->second, point, now, sessionStart_);
        if (growth.since) {
            report.since.emplace(id, *growth.since);
        } else if (growth.afterNextMeasurement) {
            report.afterNextMeasurement = true;
        } else if (growth.possibleAt) {
            report.possibleAt =
                std::min(report.possibleAt.value_or(*growth.possibleAt), *growth.possibleAt);
        }
        growths.push_back(std::move(growth));
    }
    // A folder in two categories (~/.cache/JetBrains is in "~/.cache" and in the editors'
    // caches) is one place on the card, under the first category that names it.
    std::vector<GrowthRow> rows = Growth::card(growths, 2 * limit);
    std::set<std::string> seen;
    for (GrowthRow& row : rows) {
        if (report.rows.size() == limit) break;
        if (!row.path.empty() && !seen.insert(row.path).second) continue;
        report.rows.push_back(std::move(row));
    }
    return report;
}

GrowthLookup HistoryKeeper::lookup(const std::string& categoryID, ComparisonPoint point,
                                   std::int64_t now) {
    const std::lock_guard guard(mutex_);
    loadLocked();
    const auto it = histories_.find(categoryID);
    if (it == histories_.end() || it->second.empty()) return {};
    return Growth::lookup(it->second, point, now, sessionStart_);
}

std::optional<HistoryError> HistoryKeeper::clear() {
    const std::lock_guard guard(mutex_);
    loaded_ = true;
    histories_.clear();
    unsaved_.clear();
    return HistoryFile::clear(folder_);
}

}  // namespace kelvane
