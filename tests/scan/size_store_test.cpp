#include <gtest/gtest.h>

#include "scan/size_store.h"

using namespace kelvane;

TEST(SizeStore, RemoveSubtreeStopsAtComponentBoundaries) {
    SizeStore store;
    for (const char* key :
         {"/a", "/a/b", "/a/b/c", "/a/b/c/d", "/a/bc", "/a/b-", "/a/b.", "/a/a"}) {
        store.record(1, key);
    }
    store.record(42, "/a/b");  // recording again replaces
    EXPECT_EQ(store.removeSubtree("/a/b"), 42);
    for (const char* gone : {"/a/b", "/a/b/c", "/a/b/c/d"}) EXPECT_FALSE(store.size(gone)) << gone;
    // '-' and '.' sort before '/', 'c' after it: all must survive on both sides of the range.
    for (const char* kept : {"/a", "/a/bc", "/a/b-", "/a/b.", "/a/a"})
        EXPECT_TRUE(store.size(kept)) << kept;
    EXPECT_EQ(store.removeSubtree("/nothing"), std::nullopt);
    EXPECT_EQ(store.count(), 5u);

    // A trailing slash takes what is below and keeps the unslashed key: keys are exact.
    store.record(3, "/a/bc/d");
    EXPECT_EQ(store.removeSubtree("/a/bc/"), std::nullopt);
    EXPECT_EQ(store.size("/a/bc"), 1);
    EXPECT_EQ(store.size("/a/bc/d"), std::nullopt);

    // Children are one level down, found past deep subtrees and siblings that sort among them.
    for (const char* key : {"/a/b", "/a/b/c", "/a/b/c/d", "/a/b-/x", "/a/x/y", "/a/"}) {
        store.record(2, key);
    }
    using Children = std::vector<std::pair<std::string, std::int64_t>>;
    EXPECT_EQ(store.children("/a"),
              (Children{{"/a/a", 1}, {"/a/b", 2}, {"/a/b-", 1}, {"/a/b.", 1}, {"/a/bc", 1}}));
    EXPECT_EQ(store.children("/a/b/"), (Children{{"/a/b/c", 2}}));
    EXPECT_EQ(store.children("/"), (Children{{"/a", 1}}));
    store.removeSubtree("/a");

    store.record(9, "/");
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
    store.adjust("/", 1);  // the parent of "/" is "/" itself
    EXPECT_EQ(store.size("/"), 81);

    store.record(3, "rel");
    store.adjust("rel", 1);  // a lone relative component has no parent: nothing moves
    EXPECT_EQ(store.size("rel"), 3);
    EXPECT_EQ(store.size("/"), 81);
}
