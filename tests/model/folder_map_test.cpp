#include "model/folder_map.h"

#include <gtest/gtest.h>

#include "scan/size_store.h"

namespace kelvane {
namespace {

Entry entry(std::string name, std::optional<std::int64_t> size, bool dir = false) {
    return Entry{"/c/" + name, name, dir, false, false, size, std::nullopt};
}

bool inside(const PixelRect& in, const PixelRect& out) {
    return in.x >= out.x && in.y >= out.y && in.x + in.width <= out.x + out.width &&
           in.y + in.height <= out.y + out.height;
}

// A folder holding two measured folders (one of them holding more, three
// levels down), a file, 300 tiny files and a folder not measured yet.
class FolderMapTest : public ::testing::Test {
  protected:
    void SetUp() override {
        entries = {entry("big", 6'000'000, true), entry("file.bin", 3'000'000)};
        for (int i = 0; i < 300; ++i) entries.push_back(entry("t" + std::to_string(i), 100));
        entries.push_back(entry("pending", std::nullopt, true));
        store.record(6'000'000, "/c/big");
        store.record(3'000'000, "/c/big/x");
        store.record(1'000'000, "/c/big/y");
        store.record(2'000'000, "/c/big/x/p");
        store.record(1'000'000, "/c/big/x/p/deeper");
    }
    const MapTile* find(const std::vector<MapTile>& tiles, const std::string& path) {
        for (const MapTile& t : tiles)
            if (t.path == path) return &t;
        return nullptr;
    }
    std::vector<Entry> entries;
    SizeStore store;
    const FolderMap::KnownChildren known = [this](const std::string& path) {
        return store.children(path);
    };
};

TEST_F(FolderMapTest, ItemsNestWhatTheStoreKnowsTwoLevelsDownAndMergeWhatIsTooSmall) {
    const auto tiles = FolderMap::build(entries, known, {0, 0, 800, 500});
    std::vector<std::string> top;
    for (const MapTile& t : tiles)
        if (t.depth == 0) top.push_back(t.path);
    EXPECT_EQ(top, (std::vector<std::string>{"/c/big", "/c/file.bin", ""}));  // not "pending"
    const MapTile& others = tiles.back();  // placed last, after everything nested in "big"
    EXPECT_EQ(others.kind, MapTile::Kind::others);
    EXPECT_EQ(others.merged, 300u);
    EXPECT_EQ(others.bytes, 30'000);
    EXPECT_EQ(others.entry, MapTile::kNoEntry);

    const MapTile* big = find(tiles, "/c/big");
    const MapTile* x = find(tiles, "/c/big/x");
    const MapTile* p = find(tiles, "/c/big/x/p");
    ASSERT_TRUE(big && x && p && find(tiles, "/c/big/y"));
    EXPECT_EQ(find(tiles, "/c/big/x/p/deeper"), nullptr);  // three levels down
    EXPECT_TRUE(inside(x->rect, big->inner) && inside(big->inner, big->rect));
    EXPECT_TRUE(inside(p->rect, x->inner));
    EXPECT_EQ(x->depth, 1);
    EXPECT_EQ(p->depth, 2);
    EXPECT_EQ(p->name, "p");
    // Nested tiles select, open and delete through the item they lie in.
    EXPECT_EQ(p->entry, 0u);
    EXPECT_TRUE(p->inner.empty());  // deepest level: plain
    // x's tile holds p and room for x's own files: p gets two thirds of it.
    EXPECT_NEAR(static_cast<double>(p->rect.area()) / x->inner.area(), 2.0 / 3, 0.05);

    // The innermost tile is the one under the pointer.
    EXPECT_EQ(&tiles[*FolderMap::tileAt(tiles, p->rect.x + 1, p->rect.y + 1)], p);
    EXPECT_EQ(&tiles[*FolderMap::tileAt(tiles, big->rect.x + 1, big->rect.y + 1)], big);

    // Once the store forgets what is inside (a rescan under way), "big" is a plain tile.
    store.removeSubtree("/c/big/");
    const auto plain = FolderMap::build(entries, known, {0, 0, 800, 500});
    EXPECT_TRUE(find(plain, "/c/big")->inner.empty());
    EXPECT_EQ(find(plain, "/c/big/x"), nullptr);
}

TEST_F(FolderMapTest, ArrowsMoveBetweenTheCurrentFoldersItems) {
    // Four equal files in a square area: a two-by-two grid.
    entries = {entry("a", 100), entry("b", 100), entry("c", 100), entry("d", 100)};
    const auto tiles = FolderMap::build(entries, known, {0, 0, 400, 400});
    ASSERT_EQ(tiles.size(), 4u);
    const auto at = [&](int x, int y) { return *FolderMap::tileAt(tiles, x, y); };
    using D = FolderMap::Direction;
    EXPECT_EQ(FolderMap::neighbour(tiles, at(10, 10), D::right), at(300, 10));
    EXPECT_EQ(FolderMap::neighbour(tiles, at(10, 10), D::down), at(10, 300));
    EXPECT_EQ(FolderMap::neighbour(tiles, at(300, 300), D::up), at(300, 10));
    EXPECT_EQ(FolderMap::neighbour(tiles, at(300, 300), D::left), at(10, 300));
    EXPECT_EQ(FolderMap::neighbour(tiles, at(10, 10), D::left), at(10, 10));  // the edge
}

}  // namespace
}  // namespace kelvane
