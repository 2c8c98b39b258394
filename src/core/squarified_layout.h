#pragma once

#include <cstddef>
#include <vector>

#include "core/pixel_rect.h"

namespace kelvane {

// The treemap's geometry: sizes become rectangles whose areas are in
// proportion to them, as close to squares as rows allow (the squarified
// layout of Bruls, Huizing and van Wijk). Pure arithmetic, no text.
namespace SquarifiedLayout {

// One rectangle per weight, in the order given: biggest first gives the
// squarest tiles, and keeping the caller's order keeps tiles where they were
// when a size changes a little. Every edge is computed once and shared by the
// tiles on either side of it before rounding to pixels, so the rectangles of
// positive weights never overlap and together cover `area` exactly. Weights
// of zero or less get an empty rectangle at the area's corner.
std::vector<PixelRect> layout(const std::vector<double>& weights, PixelRect area);

// How many of `weights` (biggest first) get a tile of at least `minPixels`
// when each unit of weight is `pixelsPerWeight` pixels; the rest are too
// small to read and are shown together as one tile. A single small one left
// over keeps its own tile.
std::size_t legibleCount(const std::vector<double>& weights, double pixelsPerWeight,
                         double minPixels);

}  // namespace SquarifiedLayout
}  // namespace kelvane
