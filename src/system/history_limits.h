#pragma once

#include <cstddef>
#include <cstdint>

#include "core/category_history.h"
#include "core/growth.h"

namespace kelvane {

// How much history a category keeps: three months, and no more than a file of 1 MB.
namespace HistoryLimits {

inline constexpr std::int64_t keptSeconds = 90 * Growth::day;
inline constexpr std::size_t maxFileBytes = 1'000'000;

// Forgets what the limits no longer allow. Measurements older than 90 days go first. When the
// file would still be too big, the oldest go one by one, except the latest and the ones the
// comparisons with the previous launch, a week ago and a month ago need now.
void apply(CategoryHistory& history, std::int64_t now, std::size_t maxBytes = maxFileBytes);

// `history` with `measurement` added after its last one, within the limits.
CategoryHistory record(CategoryHistory history, const Measurement& measurement, std::int64_t now,
                       std::size_t maxBytes = maxFileBytes);

}  // namespace HistoryLimits
}  // namespace kelvane
