#include <gtest/gtest.h>

#include <unordered_map>
#include <unordered_set>

#include "core/clean_category.h"
#include "core/entry.h"
#include "core/log_entry.h"
#include "core/pending_action.h"
#include "core/risk.h"
#include "core/sim_runtime.h"

using namespace kelvane;

TEST(Risk, RawValuesAndOrder) {
    EXPECT_EQ(riskFromRaw(0), Risk::safe);
    EXPECT_EQ(riskFromRaw(2), Risk::danger);
    EXPECT_FALSE(riskFromRaw(3).has_value());
    EXPECT_FALSE(riskFromRaw(-1).has_value());
    EXPECT_TRUE(Risk::safe < Risk::caution && Risk::caution < Risk::danger);
    EXPECT_FALSE(Risk::caution < Risk::caution || Risk::danger < Risk::safe);
}

TEST(CleanCategory, IdentityIsTheIdAlone) {
    const CleanCategory a{"x",    "g",  "A", "i", "d", Risk::safe, CategoryKind::folders,
                          {"/a"}, true, true};
    const CleanCategory b{"x", "h",   "B",  "j", "e", Risk::danger, CategoryKind::runtimes,
                          {},  false, false};
    const CleanCategory c{"y",    "g",  "A", "i", "d", Risk::safe, CategoryKind::folders,
                          {"/a"}, true, true};
    EXPECT_EQ(a, b);
    EXPECT_EQ(std::hash<CleanCategory>{}(a), std::hash<CleanCategory>{}(b));
    EXPECT_NE(a, c);
    std::unordered_set<CleanCategory> set{a, b, c};
    EXPECT_EQ(set.size(), 2u);
}

TEST(Entry, EqualityAndHashCoverEveryFieldWithPresence) {
    const Entry base{"/a/b", "b", true, false, false, std::nullopt, std::nullopt};
    Entry zero = base;
    zero.size = 0;
    EXPECT_NE(base, zero);  // absent differs from present-with-zero
    Entry dated = base;
    dated.modified = Date{0};
    EXPECT_NE(base, dated);
    Entry link = base;
    link.isSymlink = true;
    EXPECT_NE(base, link);
    EXPECT_EQ(base, Entry(base));

    std::unordered_map<Entry, int> map;
    map[base] = 1;
    map[zero] = 2;
    map[dated] = 3;
    map[Entry(base)] = 4;
    EXPECT_EQ(map.size(), 3u);
    EXPECT_EQ(map[base], 4);
}

TEST(SimRuntime, TheAppsUsingItAndTheirOrderMatter) {
    const SimRuntime a{
        "runtime/org.a/x86_64/1",       "org.a 1", "1", "x86_64", "Flatpak", 5, "user",
        {"org.app.One", "org.app.Two"}, false};
    SimRuntime swapped = a;
    swapped.usedBy = {"org.app.Two", "org.app.One"};
    SimRuntime joined = a;  // the same characters split differently
    joined.usedBy = {"org.app.Oneorg.app.Two"};
    SimRuntime system = a;
    system.installation = "system";
    EXPECT_NE(a, swapped);
    EXPECT_NE(a, system);
    std::unordered_set<SimRuntime> set{a, swapped, joined, system, a};
    EXPECT_EQ(set.size(), 4u);
    EXPECT_NE(std::hash<SimRuntime>{}(a), std::hash<SimRuntime>{}(joined));
}

TEST(LogEntryAndPendingAction, FreshIdentityAtCreation) {
    const Date before = Date::now();
    const LogEntry a("同じ", false);
    const LogEntry b("同じ", false);
    EXPECT_NE(a.id, b.id);
    EXPECT_GE(a.date, before);
    EXPECT_EQ(a.id.text().size(), 36u);
    EXPECT_EQ(a.id.text()[14], '4');  // version 4

    int runs = 0;
    const PendingAction p("t", "m", "削除", [&] { ++runs; });
    const PendingAction q("t", "m", "削除", [] {});
    EXPECT_NE(p.id, q.id);
    EXPECT_EQ(runs, 0);  // nothing runs until confirmed
    p.perform();
    EXPECT_EQ(runs, 1);
}
