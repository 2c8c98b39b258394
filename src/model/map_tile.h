#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>

#include "core/pixel_rect.h"

namespace kelvane {

// One tile of the map of the browser's current folder.
struct MapTile {
    enum class Kind { folder, file, others };
    static constexpr std::size_t kNoEntry = std::numeric_limits<std::size_t>::max();

    Kind kind = Kind::file;
    std::string path;  // as listed; empty for `others`
    std::string name;  // the last component, as listed; empty for `others`
    std::int64_t bytes = 0;
    std::size_t merged = 0;  // `others`: how many items it stands for
    int depth = 0;           // 0: an item of the current folder; 1, 2: nested inside one
    // The index in the listing of the item this tile is or lies in; kNoEntry for the
    // current folder's own `others`, which stands for no one item.
    std::size_t entry = kNoEntry;
    PixelRect rect;
    // Where its nested tiles are, below the strip that carries its name; empty when the
    // folder is too small to show what it holds or the store does not know it yet.
    PixelRect inner;
};

}  // namespace kelvane
