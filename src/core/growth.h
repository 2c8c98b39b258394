#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/category_history.h"

namespace kelvane {

// The measurement a comparison looks back to: the one before the latest (with a session start
// given, the latest one made before it: the previous launch's), or the nearest one at least a
// week or a month (30 days) before now.
enum class ComparisonPoint { previous, weekAgo, monthAgo };

enum class ChangeKind {
    grew,
    shrank,
    unchanged,
    appeared,  // not in the earlier list, which held every folder
    vanished,  // not in the latest list, which held every folder
};

// How one place changed between two measurements.
struct PlaceChange {
    std::string path;
    std::optional<std::int64_t> before;  // none: not in that measurement's list
    std::optional<std::int64_t> now;
    // Bytes the user deleted through Kelvane at or below this place in the interval.
    std::int64_t deleted = 0;
    ChangeKind kind = ChangeKind::unchanged;

    std::int64_t raw() const { return now.value_or(0) - before.value_or(0); }
    // The change that did not come from deleting through Kelvane: a folder emptied by the user
    // is 0, one that grew by 1 GB while 400 MB of it were deleted is +1 GB.
    std::int64_t net() const { return raw() + deleted; }
};

// A category's change since one comparison point.
struct CategoryGrowth {
    std::string categoryID;
    // The time of the measurement compared with; none when nothing can be compared yet.
    std::optional<std::int64_t> since;
    // When nothing can be compared: the next measurement makes a comparison possible…
    bool afterNextMeasurement = false;
    // …or the first one becomes possible at this time.
    std::optional<std::int64_t> possibleAt;
    std::int64_t totalBefore = 0;
    std::int64_t totalNow = 0;
    std::int64_t totalDeleted = 0;
    // Places whose net change is not zero, sorted by path.
    std::vector<PlaceChange> folders;

    std::int64_t netTotal() const { return totalNow - totalBefore + totalDeleted; }
};

// One line of the overview's card: a category's total (empty path) or one of its folders.
struct GrowthRow {
    std::string categoryID;
    std::string path;  // empty for the category's total
    PlaceChange change;
};

// The net change of every place two measurements know, for a folder browser's column.
class GrowthLookup {
  public:
    GrowthLookup() = default;
    explicit GrowthLookup(std::vector<PlaceChange> places) : places_(std::move(places)) {}
    // None for a place neither measurement knows.
    const PlaceChange* find(std::string_view path) const;
    std::optional<std::int64_t> netChange(std::string_view path) const;

  private:
    std::vector<PlaceChange> places_;  // by path
};

namespace Growth {

inline constexpr std::int64_t day = 24 * 60 * 60;

// Which measurement `point` compares the latest one with, if any.
std::optional<std::size_t> pointIndex(const CategoryHistory& history, ComparisonPoint point,
                                      std::int64_t now,
                                      std::optional<std::int64_t> sessionStart = std::nullopt);

// The latest measurement against `point`.
CategoryGrowth compare(const CategoryHistory& history, ComparisonPoint point, std::int64_t now,
                       std::optional<std::int64_t> sessionStart = std::nullopt);

// The same comparison with unchanged places kept, to look places up by path.
GrowthLookup lookup(const CategoryHistory& history, ComparisonPoint point, std::int64_t now,
                    std::optional<std::int64_t> sessionStart = std::nullopt);

// The `limit` places that changed most across every category, by the size of their net change.
// A category's total counts as the parent of its folders. A place is left out when one of its
// children changed by at least nine tenths as much in the same direction: that child names where
// the change is, and the card does not repeat it up a chain of folders.
std::vector<GrowthRow> card(const std::vector<CategoryGrowth>& categories, std::size_t limit);

}  // namespace Growth
}  // namespace kelvane
