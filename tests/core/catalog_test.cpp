#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "core/catalog.h"
#include "core/catalog_on_linux.h"
#include "core/home_trash.h"
#include "core/linux_catalog.h"

using namespace kelvane;

namespace {

const CleanCategory& row(const std::vector<CleanCategory>& rows, const std::string& id) {
    const auto it =
        std::find_if(rows.begin(), rows.end(), [&](const auto& c) { return c.id == id; });
    EXPECT_NE(it, rows.end()) << id;
    return *it;
}

std::vector<std::string> idsWhere(const std::vector<CleanCategory>& rows, auto predicate) {
    std::vector<std::string> ids;
    for (const auto& c : rows)
        if (predicate(c)) ids.push_back(c.id);
    return ids;
}

}  // namespace

TEST(Catalog, PatternsAreBaseConcatenatedWithSuffix) {
    const auto rows = Catalog::build("/Users/a", "/var/folders/xy/abc");
    ASSERT_EQ(rows.size(), 35u);
    EXPECT_EQ(rows.front().patterns, std::vector<std::string>{"/Users/a/Library/Caches"});
    EXPECT_EQ(rows.back().patterns, std::vector<std::string>{"/Users/a"});
    EXPECT_EQ(row(rows, "temp").patterns,
              (std::vector<std::string>{"/var/folders/xy/abc/C", "/var/folders/xy/abc/T"}));
    EXPECT_EQ(row(rows, "system_logs").patterns,
              (std::vector<std::string>{"/Library/Logs", "/private/var/log"}));
    EXPECT_EQ(
        row(rows, "node_caches").patterns,
        (std::vector<std::string>{"/Users/a/.npm/_cacache", "/Users/a/.yarn/cache",
                                  "/Users/a/Library/pnpm/store", "/Users/a/.bun/install/cache"}));
    EXPECT_EQ(row(rows, "container_caches").patterns,
              std::vector<std::string>{"/Users/a/Library/Containers/*/Data/Library/Caches"});
    for (const auto& c : rows) {
        for (const auto& p : c.patterns) {
            EXPECT_EQ(p.find("//"), std::string::npos) << c.id << ": " << p;
            EXPECT_NE(p.back(), '/') << c.id;
        }
    }
}

TEST(Catalog, TrashRowMeasuresTheDesktopTrash) {
    // Two-argument callers get the trash XDG_DATA_HOME's default puts in home.
    const auto defaults = Catalog::build("/h", "/t");
    EXPECT_EQ(row(defaults, "trash").patterns,
              std::vector<std::string>{"/h/.local/share/Trash/files"});

    // A given trash folder moves only the trash row.
    const auto moved = Catalog::build("/h", "/t", "/data/Trash/files");
    EXPECT_EQ(row(moved, "trash").patterns, std::vector<std::string>{"/data/Trash/files"});
    ASSERT_EQ(moved.size(), defaults.size());
    for (std::size_t i = 0; i < moved.size(); ++i) {
        if (moved[i].id != "trash") {
            EXPECT_EQ(moved[i].patterns, defaults[i].patterns) << moved[i].id;
        }
    }
    for (const auto& c : defaults) {
        for (const auto& p : c.patterns) EXPECT_EQ(p.find("/.Trash"), std::string::npos) << c.id;
    }

    EXPECT_NE(Catalog::home().back(), '/');
    // The process's own row is the trash the system layer moves items into.
    EXPECT_EQ(row(Catalog::all(), "trash").patterns,
              std::vector<std::string>{Catalog::trashFiles()});
    EXPECT_EQ(Catalog::trashFiles(), HomeTrash::filesOf(HomeTrash::current()));
}

TEST(Catalog, FlagsRisksAndKinds) {
    const auto rows = Catalog::build("/h", "/t");
    std::set<std::string> ids;
    for (const auto& c : rows) ids.insert(c.id);
    EXPECT_EQ(ids.size(), 35u);

    EXPECT_EQ(
        idsWhere(rows, [](const auto& c) { return c.quickClean; }),
        (std::vector<std::string>{"user_caches", "container_caches", "user_logs", "derived_data",
                                  "xcode_previews", "sim_caches", "node_caches", "trash"}));
    EXPECT_EQ(idsWhere(rows, [](const auto& c) { return c.risk == Risk::danger; }),
              (std::vector<std::string>{"mail", "applications"}));
    EXPECT_EQ(idsWhere(rows, [](const auto& c) { return c.risk == Risk::caution; }).size(), 15u);
    EXPECT_EQ(idsWhere(rows, [](const auto& c) { return !c.scanOnLaunch; }),
              (std::vector<std::string>{"sim_runtimes", "snapshots", "explore_lib",
                                        "explore_syslib", "explore_home"}));
    EXPECT_EQ(row(rows, "sim_runtimes").kind, CategoryKind::runtimes);
    EXPECT_EQ(row(rows, "snapshots").kind, CategoryKind::snapshots);
    EXPECT_TRUE(row(rows, "snapshots").patterns.empty());
    for (const auto& c : rows) {
        if (c.quickClean) {
            EXPECT_EQ(c.risk, Risk::safe) << c.id;
        }
    }
    EXPECT_EQ(row(rows, "trash").name, "ゴミ箱");
    EXPECT_EQ(row(rows, "dot_cache").detail,
              "pip, Hugging Face モデル, その他 CLI "
              "ツールのキャッシュ。巨大なモデルが入っている事があります。");
    EXPECT_EQ(row(rows, "explore_home").icon, "house");
}

TEST(Catalog, GroupsStandTogetherInSidebarOrder) {
    const auto rows = Catalog::build("/h", "/t");
    std::vector<std::string> firstAppearance;
    for (const auto& c : rows) {
        if (firstAppearance.empty() || firstAppearance.back() != c.group) {
            firstAppearance.push_back(c.group);
        }
    }
    EXPECT_EQ(firstAppearance, Catalog::groupOrder());  // each group appears in one run
}

TEST(CatalogOnLinux, RowsWithALinuxCounterpartMeasureItAndNameIt) {
    const CatalogOnLinux::Places places{"/h", "/s", "/tmp", "/h/.local/share"};
    const auto rows = CatalogOnLinux::adapt(Catalog::build("/h", "/t"), places);
    ASSERT_EQ(rows.size(), 35u);
    struct Expected {
        const char* id;
        const char* name;
        std::vector<std::string> patterns;
        Risk risk;
    };
    const std::vector<Expected> table{
        {"system_caches", "システムキャッシュ (/var/cache)", {"/s/var/cache"}, Risk::danger},
        {"temp", "一時ファイル (/tmp)", {"/tmp"}, Risk::danger},
        {"system_logs", "システムログ (/var/log)", {"/s/var/log"}, Risk::danger},
        {"sim_runtimes", "Flatpak / Snap ランタイム", {}, Risk::caution},
        {"snapshots", "スナップショット (Snapper / Timeshift)", {}, Risk::safe},
        {"explore_lib", "~/.local/share 全体", {"/h/.local/share"}, Risk::caution},
        {"explore_syslib", "/var 全体", {"/s/var"}, Risk::caution},
        {"homebrew", "Homebrew キャッシュ", {"/h/.cache/Homebrew"}, Risk::safe},
        {"node_caches",
         "Node.js パッケージキャッシュ",
         {"/h/.npm/_cacache", "/h/.yarn/cache", "/h/.local/share/pnpm/store",
          "/h/.bun/install/cache"},
         Risk::safe},
        {"android", "Android SDK / AVD", {"/h/.android/avd", "/h/Android/Sdk"}, Risk::caution},
        {"dot_cache", "~/.cache", {"/h/.cache"}, Risk::caution},
    };
    for (const Expected& e : table) {
        const CleanCategory& c = row(rows, e.id);
        EXPECT_EQ(c.name, e.name) << e.id;
        EXPECT_EQ(c.patterns, e.patterns) << e.id;
        EXPECT_EQ(c.risk, e.risk) << e.id;
    }
    // The tool rows keep their kinds and sit in the system section.
    EXPECT_EQ(row(rows, "sim_runtimes").kind, CategoryKind::runtimes);
    EXPECT_EQ(row(rows, "sim_runtimes").group, "システム");
    // A temporary folder elsewhere is named by where it is.
    const auto moved =
        CatalogOnLinux::adapt(Catalog::build("/h", "/t"), {"/h", "", "/h/tmp", "/data/share"});
    EXPECT_EQ(row(moved, "temp").name, "一時ファイル (~/tmp)");
    EXPECT_EQ(row(moved, "explore_lib").name, "/data/share 全体");
}

// Everything a Linux machine may list: the built-in rows at their Linux places,
// then the Linux table, over a home and a system root of the test's own.
TEST(CatalogOnLinux, WhatALinuxMachineListsIsUniqueInItsSectionsAndNamesNoForeignPlace) {
    auto rows = CatalogOnLinux::adapt(Catalog::build("/h", "/t"),
                                      {"/h", "/s", "/s/tmp", "/h/.local/share"});
    const auto linux = LinuxCatalog::build("/h", "/s");
    ASSERT_EQ(linux.size(), 13u);
    rows.insert(rows.end(), linux.begin(), linux.end());
    EXPECT_EQ(row(rows, "linux_flatpak_app_caches").patterns,
              std::vector<std::string>{"/h/.var/app/*/cache"});
    EXPECT_EQ(row(rows, "linux_containers").patterns,
              (std::vector<std::string>{"/s/var/lib/docker", "/h/.local/share/containers"}));
    const auto& groups = Catalog::groupOrder();
    std::set<std::string> ids, measured;
    for (const CleanCategory& c : rows) {
        EXPECT_TRUE(ids.insert(c.id).second) << c.id << " is not unique";
        EXPECT_NE(std::find(groups.begin(), groups.end(), c.group), groups.end()) << c.id;
        // Quick clean empties without looking: only for what regenerates.
        EXPECT_TRUE(!c.quickClean || c.risk == Risk::safe) << c.id;
        if (CatalogOnLinux::onlyWhenPresent(c)) continue;
        for (const auto& p : c.patterns) {
            EXPECT_TRUE(p == "/h" || p.starts_with("/h/") || p.starts_with("/s/"))
                << c.id << ": " << p;
            EXPECT_TRUE(measured.insert(p).second) << c.id << " measures again: " << p;
        }
        for (const char* word : {"Library", "macOS", "Mac ", "Xcode", "iOS", "Time Machine",
                                 "シミュレータ", "Finder", "/private", "/Applications"}) {
            EXPECT_EQ((c.name + c.detail).find(word), std::string::npos) << c.id << ": " << word;
        }
    }
    // Rows kept for the other platform are those that name its folders or tools.
    for (const char* id : {"user_caches", "derived_data", "sim_devices", "cocoapods", "mail",
                           "app_support", "applications", "ios_backups"}) {
        EXPECT_TRUE(CatalogOnLinux::onlyWhenPresent(row(rows, id))) << id;
    }
    for (const char* id : {"sim_runtimes", "snapshots", "dot_cache", "temp", "explore_syslib"})
        EXPECT_FALSE(CatalogOnLinux::onlyWhenPresent(row(rows, id))) << id;
    // The real table is over the real root.
    EXPECT_EQ(row(LinuxCatalog::all(), "linux_journal").patterns,
              std::vector<std::string>{"/var/log/journal"});
}
