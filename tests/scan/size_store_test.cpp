#include <gtest/gtest.h>

#include <pthread.h>

#include <functional>
#include <memory>

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

    // A trailing slash takes what is below and keeps the folder's own key.
    store.record(3, "/a/bc/d");
    EXPECT_EQ(store.removeSubtree("/a/bc/"), std::nullopt);
    EXPECT_EQ(store.size("/a/bc"), 1);
    EXPECT_EQ(store.size("/a/bc/d"), std::nullopt);

    // Empty names do not count: these are all the key "/a".
    store.record(7, "//a/");
    EXPECT_EQ(store.size("/a"), 7);
    EXPECT_EQ(store.size("/a//"), 7);
    EXPECT_EQ(store.count(), 5u);

    // Children are one level down, past deep subtrees and folders known only as a way down.
    for (const char* key : {"/a/b", "/a/b/c", "/a/b/c/d", "/a/b-/x", "/a/x/y"}) {
        store.record(2, key);
    }
    using Children = std::vector<std::pair<std::string, std::int64_t>>;
    EXPECT_EQ(store.children("/a"),
              (Children{{"/a/a", 1}, {"/a/b", 2}, {"/a/b-", 1}, {"/a/b.", 1}, {"/a/bc", 1}}));
    EXPECT_EQ(store.children("/a/b/"), (Children{{"/a/b/c", 2}}));
    EXPECT_EQ(store.children("/"), (Children{{"/a", 7}}));
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

// A walk records through slots while deletions and other scans remove keys around it.
TEST(SizeStore, SlotsRecordWhereTheirPathWouldAfterRemovals) {
    SizeStore store;
    store.record(5, "/r/old");
    SizeStore::Slot root = store.place("/r");
    SizeStore::Slot a = store.place(root, "a");
    SizeStore::Slot b = store.place(a, "b");
    EXPECT_EQ(store.count(), 1u);  // places are not keys until recorded
    EXPECT_EQ(store.children("/r"),
              (std::vector<std::pair<std::string, std::int64_t>>{{"/r/old", 5}}));
    store.record(1, "/r/a/b/c");
    EXPECT_EQ(store.removeSubtree("/r"), std::nullopt);
    EXPECT_EQ(store.count(), 0u);
    store.record(2, std::move(b));
    EXPECT_EQ(store.size("/r/a/b"), 2);
    EXPECT_EQ(store.size("/r/a/b/c"), std::nullopt);
    {
        const SizeStore::Slot dropped = store.place(a, "unfinished");  // a cancelled walk's
    }
    store.removeSubtree("/r/a/");
    store.record(3, std::move(a));
    EXPECT_EQ(store.size("/r/a"), 3);
    EXPECT_EQ(store.children("/r/a").size(), 0u);
    root = SizeStore::Slot();
    EXPECT_EQ(store.count(), 1u);
    EXPECT_EQ(store.removeSubtree("/r"), std::nullopt);
    EXPECT_EQ(store.removeSubtree("/r/a"), std::nullopt);  // went with "/r": no key, no node
    EXPECT_EQ(store.count(), 0u);
}

namespace {

// Runs `work` on a thread whose stack holds a few thousand calls at most, where anything that
// recursed once per level of a deep tree overflows.
void onSmallStack(const std::function<void()>& work) {
    pthread_attr_t attributes;
    ASSERT_EQ(::pthread_attr_init(&attributes), 0);
    ASSERT_EQ(::pthread_attr_setstacksize(&attributes, 256 * 1024), 0);
    pthread_t thread;
    const auto run = [](void* arg) -> void* {
        (*static_cast<const std::function<void()>*>(arg))();
        return nullptr;
    };
    ASSERT_EQ(
        ::pthread_create(&thread, &attributes, run, const_cast<std::function<void()>*>(&work)), 0);
    ::pthread_join(thread, nullptr);
    ::pthread_attr_destroy(&attributes);
}

}  // namespace

// Removing and destroying a chain far deeper than a stack allows for one call per level.
TEST(SizeStore, ChainsOfAnyDepthAreRemovedAndFreedWithoutRecursion) {
    constexpr int kDepth = 100'000;
    onSmallStack([] {
        auto store = std::make_unique<SizeStore>();
        SizeStore::Slot slot = store->place("/deep");
        for (int i = 0; i < kDepth; ++i) {
            SizeStore::Slot next = store->place(slot, "d");
            store->record(i, std::move(slot));
            slot = std::move(next);
        }
        store->record(kDepth, std::move(slot));
        std::string half = "/deep";
        for (int i = 0; i < kDepth / 2; ++i) half += "/d";
        EXPECT_EQ(store->removeSubtree(half + "/"), std::nullopt);
        EXPECT_EQ(store->count(), static_cast<std::size_t>(kDepth / 2 + 1));
        store.reset();
    });
}
