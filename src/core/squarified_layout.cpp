#include "core/squarified_layout.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace kelvane::SquarifiedLayout {
namespace {

// The worst width-to-height ratio in a row of tiles of total area `sum`, the
// smallest `lo` and the biggest `hi`, laid along a side of length `side`.
double worstRatio(double sum, double lo, double hi, double side) {
    const double side2 = side * side;
    const double sum2 = sum * sum;
    return std::max(side2 * hi / sum2, sum2 / (side2 * lo));
}

PixelRect snapped(double x0, double y0, double x1, double y1) {
    const int left = static_cast<int>(std::lround(x0));
    const int top = static_cast<int>(std::lround(y0));
    return {left, top, static_cast<int>(std::lround(x1)) - left,
            static_cast<int>(std::lround(y1)) - top};
}

}  // namespace

std::vector<PixelRect> layout(const std::vector<double>& weights, PixelRect area) {
    std::vector<PixelRect> out(weights.size(), PixelRect{area.x, area.y, 0, 0});
    if (area.empty()) return out;
    std::vector<std::size_t> order;
    double total = 0;
    for (std::size_t i = 0; i < weights.size(); ++i) {
        if (weights[i] > 0 && std::isfinite(weights[i])) {
            order.push_back(i);
            total += weights[i];
        }
    }
    if (order.empty()) return out;
    // Weights become pixel areas.
    const double scale = static_cast<double>(area.width) * area.height / total;
    double x0 = area.x;
    double y0 = area.y;
    const double x1 = area.x + area.width;
    const double y1 = area.y + area.height;
    std::size_t next = 0;
    while (next < order.size()) {
        // Each row runs along the free area's shorter side: a column at the
        // left of a wide area, a row at the top of a tall one.
        const bool wide = x1 - x0 >= y1 - y0;
        const double side = wide ? y1 - y0 : x1 - x0;
        std::size_t end = next;
        double sum = 0;
        double lo = std::numeric_limits<double>::infinity();
        double hi = 0;
        double best = std::numeric_limits<double>::infinity();
        while (end < order.size()) {
            const double a = weights[order[end]] * scale;
            const double ratio = worstRatio(sum + a, std::min(lo, a), std::max(hi, a), side);
            if (end > next && ratio > best) break;
            best = ratio;
            sum += a;
            lo = std::min(lo, a);
            hi = std::max(hi, a);
            ++end;
        }
        // The last row takes all that is left, so no strip is lost to rounding.
        const bool last = end == order.size();
        const double rowStart = wide ? x0 : y0;
        const double rowEnd = last ? (wide ? x1 : y1) : rowStart + sum / side;
        const double alongStart = wide ? y0 : x0;
        const double alongEnd = wide ? y1 : x1;
        double from = alongStart;
        double acc = 0;
        for (std::size_t k = next; k < end; ++k) {
            acc += weights[order[k]] * scale;
            const double to = k + 1 == end ? alongEnd : alongStart + acc * side / sum;
            out[order[k]] =
                wide ? snapped(rowStart, from, rowEnd, to) : snapped(from, rowStart, to, rowEnd);
            from = to;
        }
        (wide ? x0 : y0) = rowEnd;
        next = end;
    }
    return out;
}

std::size_t legibleCount(const std::vector<double>& weights, double pixelsPerWeight,
                         double minPixels) {
    for (std::size_t i = 0; i < weights.size(); ++i) {
        if (!(weights[i] * pixelsPerWeight >= minPixels)) {
            return weights.size() - i == 1 ? weights.size() : i;
        }
    }
    return weights.size();
}

}  // namespace kelvane::SquarifiedLayout
