#include "model/folder_map.h"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <string_view>

#include "core/squarified_layout.h"

namespace kelvane::FolderMap {
namespace {

// An item to be placed; the texts point into the listing or the store's answer,
// which outlive the placing, so only the tiles that get drawn copy them.
struct Item {
    MapTile::Kind kind;
    std::string_view path;
    std::string_view name;
    std::int64_t bytes;
    std::size_t entry;
    std::size_t merged = 0;
};

bool biggerFirst(const Item& a, const Item& b) {
    return a.bytes > b.bytes;
}

class Placer {
  public:
    Placer(const KnownChildren& known, const MapStyle& style, std::vector<MapTile>& out)
        : known_(known), style_(style), out_(out) {}

    // Lays `items` (biggest first) and `rest` bytes that belong to no item into `area`.
    void place(std::vector<Item> items, std::int64_t rest, PixelRect area, int depth,
               std::size_t othersEntry) {
        std::int64_t total = std::max<std::int64_t>(rest, 0);
        for (const Item& item : items) total += item.bytes;
        if (total <= 0 || area.empty()) return;
        const double pixelsPerByte = static_cast<double>(area.area()) / static_cast<double>(total);
        std::vector<double> weights;
        weights.reserve(items.size() + 2);
        for (const Item& item : items) weights.push_back(static_cast<double>(item.bytes));
        const std::size_t legible =
            SquarifiedLayout::legibleCount(weights, pixelsPerByte, style_.minTilePixels);
        if (legible < items.size()) {
            Item others{MapTile::Kind::others, {}, {}, 0, othersEntry, items.size() - legible};
            for (std::size_t i = legible; i < items.size(); ++i) others.bytes += items[i].bytes;
            items.resize(legible);
            items.push_back(others);
            weights.resize(legible);
            weights.push_back(static_cast<double>(others.bytes));
        }
        // What the folder holds besides the listed items takes its share of the area
        // and stays the folder's own background.
        weights.push_back(static_cast<double>(std::max<std::int64_t>(rest, 0)));
        const std::vector<PixelRect> rects = SquarifiedLayout::layout(weights, area);
        for (std::size_t i = 0; i < items.size(); ++i) {
            if (rects[i].empty()) continue;
            const Item& item = items[i];
            MapTile tile;
            tile.kind = item.kind;
            tile.path = item.path;
            tile.name = item.name;
            tile.bytes = item.bytes;
            tile.merged = item.merged;
            tile.depth = depth;
            tile.entry = item.entry;
            tile.rect = rects[i];
            out_.push_back(std::move(tile));
            if (item.kind == MapTile::Kind::folder && depth < style_.depth) {
                nest(out_.size() - 1);
            }
        }
    }

  private:
    // Fills folder tile `index` with the folders known one level below it.
    void nest(std::size_t index) {
        const PixelRect rect = out_[index].rect;
        if (rect.width < style_.nestMinWidth || rect.height < style_.nestMinHeight) return;
        const PixelRect inner{rect.x + style_.padding, rect.y + style_.header,
                              rect.width - 2 * style_.padding,
                              rect.height - style_.header - style_.padding};
        if (inner.empty()) return;
        const auto children = known_(out_[index].path);
        if (children.empty()) return;
        std::vector<Item> items;
        items.reserve(children.size());
        std::int64_t inChildren = 0;
        const std::size_t entry = out_[index].entry;
        for (const auto& [path, bytes] : children) {
            if (bytes <= 0) continue;
            const std::size_t slash = path.rfind('/');
            items.push_back({MapTile::Kind::folder, path, std::string_view(path).substr(slash + 1),
                             bytes, entry});
            inChildren += bytes;
        }
        if (items.empty()) return;
        std::stable_sort(items.begin(), items.end(), biggerFirst);
        out_[index].inner = inner;
        const int depth = out_[index].depth + 1;
        // Between two measurements the children may add up to more than the folder; they
        // then share the whole inner area.
        place(std::move(items), std::max<std::int64_t>(0, out_[index].bytes - inChildren), inner,
              depth, entry);
    }

    const KnownChildren& known_;
    const MapStyle& style_;
    std::vector<MapTile>& out_;
};

}  // namespace

std::vector<MapTile> build(const std::vector<Entry>& entries, const KnownChildren& known,
                           PixelRect area, const MapStyle& style) {
    std::vector<Item> items;
    items.reserve(entries.size());
    for (std::size_t i = 0; i < entries.size(); ++i) {
        const Entry& e = entries[i];
        if (!e.size) continue;
        const bool folder = e.isDir && !e.isSymlink;
        items.push_back({folder ? MapTile::Kind::folder : MapTile::Kind::file, e.path, e.name,
                         std::max<std::int64_t>(*e.size, 0), i});
    }
    // The listing is shown biggest first already, except while sizes still land.
    if (!std::is_sorted(items.begin(), items.end(), biggerFirst)) {
        std::stable_sort(items.begin(), items.end(), biggerFirst);
    }
    std::vector<MapTile> tiles;
    Placer(known, style, tiles).place(std::move(items), 0, area, 0, MapTile::kNoEntry);
    return tiles;
}

std::optional<std::size_t> tileAt(const std::vector<MapTile>& tiles, int x, int y) {
    // Nested tiles come after the folder they lie in: the last hit is the innermost.
    for (std::size_t i = tiles.size(); i-- > 0;) {
        if (tiles[i].rect.contains(x, y)) return i;
    }
    return std::nullopt;
}

std::size_t neighbour(const std::vector<MapTile>& tiles, std::size_t from, Direction direction) {
    if (from >= tiles.size()) return from;
    const PixelRect a = tiles[from].rect;
    const bool across = direction == Direction::left || direction == Direction::right;
    // The gap between two spans on the other axis; 0 when they overlap.
    const auto gap = [](int from0, int len0, int from1, int len1) {
        return std::max(0, std::max(from0, from1) - std::min(from0 + len0, from1 + len1));
    };
    std::size_t best = from;
    std::pair<long, long> bestScore{std::numeric_limits<long>::max(), 0};
    for (std::size_t i = 0; i < tiles.size(); ++i) {
        if (i == from || tiles[i].depth != 0) continue;
        const PixelRect b = tiles[i].rect;
        // Only tiles wholly past the edge we leave by.
        long ahead = 0;
        switch (direction) {
            case Direction::left:
                ahead = a.x - (b.x + b.width);
                break;
            case Direction::right:
                ahead = b.x - (a.x + a.width);
                break;
            case Direction::up:
                ahead = a.y - (b.y + b.height);
                break;
            case Direction::down:
                ahead = b.y - (a.y + a.height);
                break;
        }
        if (ahead < 0) continue;
        // Nearest first, those straight ahead before those off to the side; then the one
        // whose start lines up best with ours.
        const long aside =
            across ? gap(a.y, a.height, b.y, b.height) : gap(a.x, a.width, b.x, b.width);
        const long align = across ? std::labs(long{b.y} - a.y) : std::labs(long{b.x} - a.x);
        const std::pair<long, long> score{ahead + 2 * aside, align};
        if (score < bestScore) {
            bestScore = score;
            best = i;
        }
    }
    return best;
}

}  // namespace kelvane::FolderMap
