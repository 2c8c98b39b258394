#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "core/growth.h"
#include "core/measurement.h"
#include "system/history_file.h"

namespace kelvane {

// What the overview's card and the browser's column show for one comparison point.
struct GrowthReport {
    ComparisonPoint point = ComparisonPoint::previous;
    // The places that changed most, across every category.
    std::vector<GrowthRow> rows;
    // The time each category is compared with, for the categories that can be.
    std::map<std::string, std::int64_t> since;
    // When no category can be compared yet: the next measurement makes it possible, or the
    // first comparison becomes possible at `possibleAt`.
    bool afterNextMeasurement = false;
    std::optional<std::int64_t> possibleAt;
};

// The measurement history of every category, its files, and the comparisons made from it.
// Used from worker threads only: every call takes one lock for its whole duration (a save
// included), so the main thread never calls it and never waits on the disk.
class HistoryKeeper {
  public:
    // `sessionStart`: when this launch began; "前回" compares with the launch before it.
    HistoryKeeper(std::string folder, std::int64_t sessionStart)
        : folder_(std::move(folder)), sessionStart_(sessionStart) {}

    // Reads the files the first time any call needs them; what was set aside or could not be
    // read, once, for the log.
    std::vector<HistoryError> load();
    // Adds a measurement of `categoryID`; its file is written by the next `save`.
    void record(const std::string& categoryID, const Measurement& m, std::int64_t now);
    // Writes the files of the categories recorded since the last save; the first failure.
    std::optional<HistoryError> save();
    // The card's rows (at most `limit`) for `point`, over the categories in `shown`.
    GrowthReport report(ComparisonPoint point, std::int64_t now,
                        const std::vector<std::string>& shown, std::size_t limit);
    // The change of every place one category's history knows.
    GrowthLookup lookup(const std::string& categoryID, ComparisonPoint point, std::int64_t now);
    // Forgets everything, on disk too.
    std::optional<HistoryError> clear();

  private:
    void loadLocked();

    std::mutex mutex_;
    const std::string folder_;
    const std::int64_t sessionStart_;
    bool loaded_ = false;
    std::vector<HistoryError> loadProblems_;
    std::map<std::string, CategoryHistory> histories_;
    std::set<std::string> unsaved_;
};

}  // namespace kelvane
