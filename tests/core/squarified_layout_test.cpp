#include "core/squarified_layout.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <numeric>

namespace kelvane {
namespace {

struct Case {
    const char* what;
    std::vector<double> weights;
    PixelRect area;
};

// Folders as they come: one huge and a long tail, equal sizes, zeros among
// them, a single item, a strip one pixel high, and prime-sized areas that
// never divide evenly.
const std::vector<Case> kCases = {
    {"long tail", {5e9, 1e9, 4e8, 3e8, 2e8, 1e8, 5e7, 2e7, 1e7, 5e6, 1e6}, {0, 0, 800, 500}},
    {"equal", std::vector<double>(30, 4096.0), {10, 20, 613, 397}},
    {"zeros among", {300, 0, 200, 0, 100, 50}, {0, 0, 101, 103}},
    {"single", {42}, {5, 5, 60, 40}},
    {"strip", {3, 2, 1}, {0, 0, 600, 1}},
    {"tall", {9, 7, 5, 3, 2, 1, 1}, {0, 0, 37, 911}},
};

TEST(SquarifiedLayout, TilesCoverTheAreaOnceInProportionToTheirWeights) {
    for (const Case& c : kCases) {
        SCOPED_TRACE(c.what);
        const auto rects = SquarifiedLayout::layout(c.weights, c.area);
        ASSERT_EQ(rects.size(), c.weights.size());
        const double total = std::accumulate(c.weights.begin(), c.weights.end(), 0.0);
        std::vector<int> covered(static_cast<std::size_t>(c.area.area()), 0);
        for (std::size_t i = 0; i < rects.size(); ++i) {
            const PixelRect& r = rects[i];
            if (c.weights[i] <= 0) {
                EXPECT_TRUE(r.empty()) << i;
                continue;
            }
            // Rounding each edge to a pixel moves the area by at most half a
            // pixel along every side.
            const double expected = c.weights[i] / total * static_cast<double>(c.area.area());
            EXPECT_LE(std::abs(static_cast<double>(r.area()) - expected), r.width + r.height + 1.0)
                << i;
            for (int y = r.y; y < r.y + r.height; ++y) {
                for (int x = r.x; x < r.x + r.width; ++x) {
                    ASSERT_TRUE(c.area.contains(x, y)) << i << " leaves the area";
                    ++covered[static_cast<std::size_t>((y - c.area.y) * c.area.width + x -
                                                       c.area.x)];
                }
            }
        }
        for (std::size_t p = 0; p < covered.size(); ++p) ASSERT_EQ(covered[p], 1) << "pixel " << p;
    }
}

TEST(SquarifiedLayout, ShapesAreNearSquareAndPositionsHoldWhenASizeMovesALittle) {
    const std::vector<double> weights = {5e9, 1e9, 4e8, 3e8, 2e8, 1e8, 5e7, 2e7};
    const PixelRect area{0, 0, 800, 500};
    const auto before = SquarifiedLayout::layout(weights, area);
    for (const PixelRect& r : before) {
        EXPECT_LE(std::max(r.width, r.height), 4 * std::min(r.width, r.height));
    }
    for (std::size_t i = 0; i < weights.size(); ++i) {
        auto changed = weights;
        changed[i] *= 1.01;
        const auto after = SquarifiedLayout::layout(changed, area);
        for (std::size_t k = 0; k < weights.size(); ++k) {
            EXPECT_LE(std::abs(after[k].x - before[k].x) + std::abs(after[k].y - before[k].y), 4)
                << "tile " << k << " when " << i << " grew";
        }
    }
}

TEST(SquarifiedLayout, TooSmallToReadIsMergedUnlessOnlyOneIsLeft) {
    struct Merge {
        std::vector<double> weights;
        double pixelsPerWeight, minPixels;
        std::size_t legible;
    } const cases[] = {
        {{1000, 100, 10, 1}, 1, 50, 2},    // 10 and 1 px are too small
        {{1000, 100, 10}, 1, 50, 3},       // the one small one keeps its tile
        {{1000, 100, 10, 1}, 100, 50, 4},  // a bigger window reads them all
        {{0, 0}, 100, 10, 0},
        {{100, 0, 0}, 1, 10, 1},
    };
    for (const Merge& m : cases) {
        EXPECT_EQ(SquarifiedLayout::legibleCount(m.weights, m.pixelsPerWeight, m.minPixels),
                  m.legible)
            << m.weights.size() << " weights at " << m.pixelsPerWeight;
    }
}

}  // namespace
}  // namespace kelvane
