#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "core/growth.h"

using namespace kelvane;

namespace {

constexpr std::int64_t now = 1'750'000'000;
constexpr std::int64_t day = Growth::day;

Measurement measured(std::int64_t time, std::map<std::string, std::int64_t> folders,
                     std::vector<FolderSize> deleted = {}) {
    Measurement m{time, folders.at("/r"), {}, std::move(deleted), 0};
    for (const auto& [path, bytes] : folders) m.folders.push_back({path, bytes});
    return m;
}

// A month and more of one category: "a" keeps growing; at the latest measurement the user had
// deleted "c" and "b/x" through Kelvane while "b" grew by more than it lost, "e" shrank by
// itself and "d" is new. Ten days before, the user had deleted 7 bytes below "e".
CategoryHistory sampleHistory() {
    const std::map<std::string, std::int64_t> base{{"/r", 200},    {"/r/a", 10}, {"/r/b", 50},
                                                   {"/r/b/x", 20}, {"/r/c", 30}, {"/r/e", 40}};
    auto m1 = base;
    m1["/r"] = 205, m1["/r/a"] = 15;
    auto m2 = base;
    m2["/r"] = 215, m2["/r/a"] = 25;
    const std::map<std::string, std::int64_t> m3{
        {"/r", 185}, {"/r/a", 30}, {"/r/b", 70}, {"/r/d", 5}, {"/r/e", 10}};
    CategoryHistory h("user_caches");
    h.append(measured(now - 40 * day, base));
    h.append(measured(now - 10 * day, m1, {{"/r/e/old", 7}}));
    h.append(measured(now - day, m2));
    h.append(measured(now, m3, {{"/r/c", 30}, {"/r/b/x", 20}}));
    return h;
}

struct Expected {
    std::string path;
    std::optional<std::int64_t> before, now;
    std::int64_t deleted;
    ChangeKind kind;
};

}  // namespace

TEST(Growth, ComparesTheLatestWithEachPointAndLeavesDeletionsOut) {
    const CategoryHistory h = sampleHistory();
    using K = ChangeKind;
    const struct {
        ComparisonPoint point;
        std::int64_t since, before, deleted;
        std::vector<Expected> places;
    } cases[] = {
        {ComparisonPoint::previous,
         now - day,
         215,
         50,
         {{"/r", 215, 185, 50, K::grew},
          {"/r/a", 25, 30, 0, K::grew},
          {"/r/b", 50, 70, 20, K::grew},  // +20 raw, +40 without the deletion
          {"/r/d", {}, 5, 0, K::appeared},
          {"/r/e", 40, 10, 0, K::shrank}}},
        {ComparisonPoint::weekAgo,
         now - 10 * day,
         205,
         50,
         {{"/r", 205, 185, 50, K::grew},
          {"/r/a", 15, 30, 0, K::grew},
          {"/r/b", 50, 70, 20, K::grew},
          {"/r/d", {}, 5, 0, K::appeared},
          {"/r/e", 40, 10, 0, K::shrank}}},
        {ComparisonPoint::monthAgo,
         now - 40 * day,
         200,
         57,
         {{"/r", 200, 185, 57, K::grew},
          {"/r/a", 10, 30, 0, K::grew},
          {"/r/b", 50, 70, 20, K::grew},
          {"/r/d", {}, 5, 0, K::appeared},
          {"/r/e", 40, 10, 7, K::shrank}}},
    };
    for (const auto& c : cases) {
        const CategoryGrowth g = Growth::compare(h, c.point, now);
        SCOPED_TRACE(static_cast<int>(c.point));
        EXPECT_EQ(g.since, c.since);
        EXPECT_EQ(g.totalBefore, c.before);
        EXPECT_EQ(g.totalNow, 185);
        EXPECT_EQ(g.totalDeleted, c.deleted);
        // "c" and "b/x", emptied through Kelvane, are no change at all.
        ASSERT_EQ(g.folders.size(), c.places.size());
        for (std::size_t i = 0; i < c.places.size(); ++i) {
            const auto& e = c.places[i];
            const auto& got = g.folders[i];
            EXPECT_EQ(got.path, e.path);
            EXPECT_EQ(got.before, e.before) << e.path;
            EXPECT_EQ(got.now, e.now) << e.path;
            EXPECT_EQ(got.deleted, e.deleted) << e.path;
            EXPECT_EQ(got.kind, e.kind) << e.path;
        }
        const GrowthLookup lookup = Growth::lookup(h, c.point, now);
        EXPECT_EQ(lookup.netChange("/r/b"), 40);
        EXPECT_EQ(lookup.netChange("/r/c"), 0);  // known, and no change of its own
        EXPECT_EQ(lookup.netChange("/r/zz"), std::nullopt);
    }
}

TEST(Growth, SaysWhenAComparisonBecomesPossible) {
    CategoryHistory fresh("a");
    fresh.append(measured(now - 2 * day, {{"/r", 1}}));
    CategoryHistory old("b");
    old.append(measured(now - 40 * day, {{"/r", 1}}));
    const struct {
        const CategoryHistory& history;
        ComparisonPoint point;
        bool next;
        std::optional<std::int64_t> at;
    } cases[] = {
        {fresh, ComparisonPoint::previous, true, {}},
        {fresh, ComparisonPoint::weekAgo, false, now + 5 * day},
        {fresh, ComparisonPoint::monthAgo, false, now + 28 * day},
        {old, ComparisonPoint::monthAgo, true, {}},  // old enough, but the only one
        {CategoryHistory("c"), ComparisonPoint::weekAgo, false, {}},
    };
    for (const auto& c : cases) {
        const CategoryGrowth g = Growth::compare(c.history, c.point, now);
        EXPECT_EQ(g.since, std::nullopt);
        EXPECT_EQ(g.afterNextMeasurement, c.next) << c.history.categoryID();
        EXPECT_EQ(g.possibleAt, c.at) << c.history.categoryID();
    }
}

TEST(Growth, AFolderMissingFromACutListOnlyGrew) {
    CategoryHistory h("x");
    Measurement cut = measured(now - day, {{"/r", 100}});
    cut.cutoff = 4;
    h.append(cut);
    h.append(measured(now, {{"/r", 110}, {"/r/small", 10}}));
    const auto g = Growth::compare(h, ComparisonPoint::previous, now);
    ASSERT_EQ(g.folders.size(), 2u);
    EXPECT_EQ(g.folders[1].kind, ChangeKind::grew);
}

TEST(Growth, CardListsWhereTheChangeIsOnceAndBiggestFirst) {
    const auto place = [](std::string path, std::int64_t before, std::int64_t now,
                          std::int64_t deleted = 0) {
        return PlaceChange{std::move(path), before, now, deleted, ChangeKind::grew};
    };
    CategoryGrowth caches;
    caches.categoryID = "caches";
    caches.since = now - day;
    caches.totalBefore = 1000, caches.totalNow = 1100;
    caches.folders = {place("/c", 1000, 1100),       // explained by /c/pip
                      place("/c/pip", 100, 195),     // shown: /c/pip/http is under 9/10 of it
                      place("/c/pip/http", 0, 80),   //
                      place("/c/old", 60, 10, 40)};  // -10 net: smallest
    CategoryGrowth logs;
    logs.categoryID = "logs";
    logs.since = now - day;
    logs.totalBefore = 500, logs.totalNow = 350;
    logs.folders = {place("/l/a", 200, 100), place("/l/b", 100, 50)};  // total shown
    CategoryGrowth none;                                               // nothing to compare yet
    none.categoryID = "new";

    const auto rows = Growth::card({caches, logs, none}, 5);
    const std::vector<std::pair<std::string, std::string>> expected{{"logs", ""},
                                                                    {"logs", "/l/a"},
                                                                    {"caches", "/c/pip"},
                                                                    {"caches", "/c/pip/http"},
                                                                    {"logs", "/l/b"}};
    ASSERT_EQ(rows.size(), expected.size());
    for (std::size_t i = 0; i < rows.size(); ++i) {
        EXPECT_EQ(std::pair(rows[i].categoryID, rows[i].path), expected[i]) << i;
    }
    EXPECT_EQ(rows[0].change.net(), -150);
}

TEST(CategoryHistory, ErasingAMeasurementKeepsTheOthersAndItsDeletions) {
    const CategoryHistory full = sampleHistory();
    for (std::size_t gone = 0; gone + 1 < full.size(); ++gone) {
        CategoryHistory h = full;
        h.erase(gone);
        ASSERT_EQ(h.size(), full.size() - 1);
        for (std::size_t i = 0; i < h.size(); ++i) {
            const std::size_t was = i < gone ? i : i + 1;
            EXPECT_EQ(h.measurement(i).folders, full.measurement(was).folders) << gone << i;
        }
    }
    CategoryHistory h = full;
    h.erase(1);  // its deletion below "e" now happened before the next one
    EXPECT_EQ(h.step(1).deleted, (std::vector<FolderSize>{{"/r/e/old", 7}}));
    EXPECT_EQ(Growth::compare(h, ComparisonPoint::monthAgo, now).totalDeleted, 57);
}
