#include <gtest/gtest.h>

#include "scan/size_store.h"

using namespace kelvane;

TEST(SizeStore, RecordReplacesAndSizeIsExactKey) {
    SizeStore store;
    EXPECT_EQ(store.size("/a"), std::nullopt);
    store.record(10, "/a");
    store.record(7, "/a");
    EXPECT_EQ(store.size("/a"), 7);
    EXPECT_EQ(store.size("/a/"), std::nullopt);  // no normalisation
}

TEST(SizeStore, RemoveSubtreeStopsAtComponentBoundaries) {
    SizeStore store;
    for (const char* key :
         {"/a", "/a/b", "/a/b/c", "/a/b/c/d", "/a/bc", "/a/b-", "/a/b.", "/a/a"}) {
        store.record(1, key);
    }
    store.record(42, "/a/b");
    EXPECT_EQ(store.removeSubtree("/a/b"), 42);
    for (const char* gone : {"/a/b", "/a/b/c", "/a/b/c/d"}) EXPECT_FALSE(store.size(gone)) << gone;
    // '-' and '.' sort before '/', 'c' after it: all must survive on both sides of the range.
    for (const char* kept : {"/a", "/a/bc", "/a/b-", "/a/b.", "/a/a"})
        EXPECT_TRUE(store.size(kept)) << kept;
    EXPECT_EQ(store.count(), 5u);

    EXPECT_EQ(store.removeSubtree("/nothing"), std::nullopt);
    EXPECT_EQ(store.count(), 5u);
}

TEST(SizeStore, RemoveSubtreeWithTrailingSlashKeepsTheUnslashedKey) {
    SizeStore store;
    store.record(5, "/a");
    store.record(3, "/a/b");
    EXPECT_EQ(store.removeSubtree("/a/"), std::nullopt);
    EXPECT_EQ(store.size("/a"), 5);
    EXPECT_EQ(store.size("/a/b"), std::nullopt);

    store.record(9, "/");
    store.record(4, "/x");
    EXPECT_EQ(store.removeSubtree("/"), 9);
    EXPECT_EQ(store.count(), 0u);
}

TEST(SizeStore, AdjustWalksPastGapsAndClampsAtZero) {
    SizeStore store;
    store.record(100, "/");
    store.record(60, "/x");
    store.record(10, "/x/y/z");
    store.record(50, "/x/y/z/f");
    store.adjust("/x/y/z/f", -25);
    EXPECT_EQ(store.size("/x/y/z"), 0);
    EXPECT_EQ(store.size("/x"), 35);
    EXPECT_EQ(store.size("/"), 75);
    EXPECT_EQ(store.size("/x/y"), std::nullopt);  // gaps are not filled in
    EXPECT_EQ(store.size("/x/y/z/f"), 50);        // the path itself is untouched

    store.adjust("/x/y/z/f/", 5);  // trailing slash: same ancestors
    EXPECT_EQ(store.size("/x/y/z"), 5);
    EXPECT_EQ(store.size("/"), 80);

    store.adjust("/", 1);  // the parent of "/" is "/" itself
    EXPECT_EQ(store.size("/"), 81);

    store.record(3, "rel");
    store.adjust("rel", 1);  // a lone relative component has no parent: nothing moves
    EXPECT_EQ(store.size("rel"), 3);
    EXPECT_EQ(store.size("/"), 81);
}
