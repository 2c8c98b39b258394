#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "core/entry.h"
#include "core/pixel_rect.h"
#include "model/map_tile.h"

namespace kelvane {

// The measures of the map that depend on the screen: how small a tile may be
// and still be read, and the room a folder needs to show what it holds.
struct MapStyle {
    int minTilePixels = 22 * 22;  // smaller items join their folder's "others" tile
    int padding = 2;              // between a folder's edge and its nested tiles
    int header = 16;              // the strip with the folder's name above them
    int nestMinWidth = 64;        // below this, a folder is one plain tile
    int nestMinHeight = 48;
    int depth = 2;  // levels shown inside the current folder's items
};

// The treemap of the browser's current folder: its listed items, each folder
// holding the folders already known below it, two levels deep. It asks what
// is known and never walks: a folder still being measured is one plain tile
// until its children are recorded.
namespace FolderMap {

// The folders known one level below a path, with their sizes: the size
// store's answer, or an opened scan's.
using KnownChildren =
    std::function<std::vector<std::pair<std::string, std::int64_t>>(const std::string& path)>;

// The tiles over `area`, each folder before the tiles nested in it. Items of
// unknown size are left out until their size is known.
std::vector<MapTile> build(const std::vector<Entry>& entries, const KnownChildren& known,
                           PixelRect area, const MapStyle& style = {});

// The innermost tile under the point, as an index into `tiles`.
std::optional<std::size_t> tileAt(const std::vector<MapTile>& tiles, int x, int y);

enum class Direction { left, right, up, down };

// The tile of the current folder's items (depth 0) nearest to `from` in
// `direction`, or `from` itself when there is none that way.
std::size_t neighbour(const std::vector<MapTile>& tiles, std::size_t from, Direction direction);

}  // namespace FolderMap
}  // namespace kelvane
