#include "system/history_limits.h"

#include <array>

#include "system/history_codec.h"

namespace kelvane {

void HistoryLimits::apply(CategoryHistory& history, std::int64_t now, std::size_t maxBytes) {
    while (history.size() > 1 && history.step(0).time < now - keptSeconds) history.erase(0);
    while (history.size() > 2 && HistoryCodec::encode(history).size() > maxBytes) {
        const std::size_t last = history.size() - 1;
        const std::array<std::optional<std::size_t>, 2> needed{
            Growth::pointIndex(history, ComparisonPoint::weekAgo, now),
            Growth::pointIndex(history, ComparisonPoint::monthAgo, now)};
        std::size_t oldest = 0;
        while (oldest < last - 1 && (oldest == needed[0] || oldest == needed[1])) ++oldest;
        if (oldest >= last - 1) return;  // only what the comparisons need is left
        history.erase(oldest);
    }
}

CategoryHistory HistoryLimits::record(CategoryHistory history, const Measurement& measurement,
                                      std::int64_t now, std::size_t maxBytes) {
    history.append(measurement);
    apply(history, now, maxBytes);
    return history;
}

}  // namespace kelvane
