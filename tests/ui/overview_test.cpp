#include <sys/stat.h>

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QPushButton>
#include <QToolBar>

#include "support/run_as_test_user.h"
#include "ui/browser/category_detail_view.h"
#include "ui/browser/category_header.h"
#include "ui/browser/entry_list_model.h"
#include "ui/browser/entry_list_view.h"
#include "ui/components/inset_list.h"
#include "ui/components/palette_roles.h"
#include "ui/overview/biggest_card.h"
#include "ui/overview/biggest_row.h"
#include "ui/overview/disk_card.h"
#include "ui/overview/disk_usage_bar.h"
#include "ui/overview/growth_card.h"
#include "ui/overview/growth_row.h"
#include "ui/overview/log_card.h"
#include "ui/overview/overview_view.h"
#include "ui/overview/quick_clean_card.h"
#include "ui/overview/quick_clean_row.h"
#include "ui/overview/tools_card.h"
#include "ui/tools/runtime_row.h"
#include "ui/tools/runtimes_view.h"
#include "ui/tools/snapshots_view.h"
#include "ui/tools/tool_screen.h"
#include "ui_fixture.h"

namespace kelvane::test {
namespace {

using Rows = std::vector<QStringList>;

class OverviewTest : public UiTest {
  protected:
    OverviewView* overview() { return screen<OverviewView>(); }
    QuickCleanRow* quickRow(const std::string& id) {
        for (QuickCleanRow* row : overview()->quickCleanCard()->rows()) {
            if (row->id() == id) return row;
        }
        return nullptr;
    }

    // The texts of every label of each list row, in order.
    static Rows rows(const ToolScreen* view) {
        Rows shown;
        for (const QWidget* row : view->list()->rows()) {
            QStringList texts;
            for (const QLabel* label : row->findChildren<QLabel*>()) {
                if (!label->text().isEmpty()) texts << label->text();
            }
            shown.push_back(texts);
        }
        return shown;
    }

    // The window toolbar's "更新", there only while a tool screen shows.
    QAction* reload() {
        for (QAction* action : app->window().toolbar()->actions()) {
            if (action->text() == QStringLiteral("更新")) return action;
        }
        return nullptr;
    }

    static SimRuntime runtime(const std::string& name, std::string platform, std::int64_t size,
                              std::string installation, std::vector<std::string> usedBy) {
        const bool deletable = usedBy.empty();
        return SimRuntime("runtime/" + name + "/x86_64/1.0", name + " 1.0", "1.0", "x86_64",
                          std::move(platform), size, std::move(installation), std::move(usedBy),
                          deletable);
    }

    // A folder category over the home's folder `id`, in the cache group.
    CleanCategory folderRow(const std::string& id, const std::string& name, bool quick,
                            const std::string& group = "キャッシュ") {
        return {id,         group, name, "folder", "", Risk::safe, CategoryKind::folders,
                {path(id)}, true,  quick};
    }
};

TEST_F(OverviewTest, CardsOverAnEmptyHome) {
    launch(std::nullopt, false);
    ASSERT_NE(overview(), nullptr);
    QLabel* biggest = overview()->biggestCard()->placeholder();
    EXPECT_EQ(biggest->text(), QStringLiteral("スキャン中…"));
    const QuickCleanCard* quick = overview()->quickCleanCard();
    ASSERT_FALSE(quick->rows().isEmpty());
    for (const QuickCleanRow* row : quick->rows()) {
        // Ticked on appearance, but nothing measured yet to delete.
        EXPECT_TRUE(row->checkBox()->isChecked() && !row->checkBox()->isEnabled()) << row->id();
    }
    EXPECT_EQ(quick->totalLabel()->accessibleName(), QStringLiteral("選択合計: ") + bytes(0));
    EXPECT_FALSE(quick->deleteButton()->isEnabled());
    // At the window's narrowest the cards stack rather than run past its
    // edge, where no scroll bar reaches; with room again they stand side by side.
    for (const auto& [width, sideBySide] : {std::pair{980, false}, std::pair{1400, true}}) {
        app->window().resize(width, 760);
        // The resize, the new arrangement and its layout pass each take a round.
        for (int i = 0; i < 3; ++i) QCoreApplication::processEvents();
        EXPECT_EQ(overview()->sideBySide(), sideBySide) << width;
        const QWidget* tools = overview()->toolsCard();
        EXPECT_LE(tools->mapTo(overview(), QPoint(tools->width(), 0)).x(), overview()->width())
            << width;
    }

    model().startInitialScan();
    settle();
    EXPECT_EQ(biggest->text(), QStringLiteral("見つかった項目はありません"));
    // A scan under way may still find something.
    makeFile(".cache/a", 1'000);
    const CleanCategory caches = *std::ranges::find_if(
        model().categories(), [](const CleanCategory& c) { return c.id == "dot_cache"; });
    std::vector<ScanLimiter::Slot> held;
    for (int i = 0; i < model().limiter().limit(); ++i) held.push_back(model().limiter().acquire());
    model().scan(caches);
    EXPECT_EQ(biggest->text(), QStringLiteral("スキャン中…"));
    held.clear();
    settle();
    EXPECT_FALSE(biggest->isVisible());

    // The disk: the fixture's 500 GB with 120 GB free, then others. The
    // space kept for root is neither used nor free: the three add up to the
    // total, and the bar fills with both.
    DiskCard* disk = overview()->diskCard();
    EXPECT_EQ(disk->figure("使用中"), bytes(380'000'000'000));
    for (const std::int64_t reserved : {std::int64_t{50'000'000'000}, std::int64_t{0}}) {
        model().setDisk(DiskInfo{1'000'000'000'000, 300'000'000'000, 300'000'000'000, reserved});
        EXPECT_EQ(disk->figure("使用中"), bytes(700'000'000'000 - reserved));
        EXPECT_EQ(disk->figure("root 用の予約領域"), bytes(reserved));
        const auto* bar = disk->findChild<DiskUsageBar*>();
        EXPECT_DOUBLE_EQ(bar->fraction() + bar->reservedFraction(), 0.7);
        EXPECT_EQ(bar->accessibleName(), reserved == 0
                                             ? QStringLiteral("使用率 70%")
                                             : QStringLiteral("使用率 65%、root 用の予約領域 5%"));
    }
    // Without figures "更新" goes too; reading the disk again brings them back.
    model().setDisk(std::nullopt);
    EXPECT_TRUE(std::ranges::any_of(disk->findChildren<QLabel*>(), [](const QLabel* label) {
        return label->isVisible() &&
               label->text() == QStringLiteral("ディスク情報を取得できません");
    }));
    EXPECT_EQ(findButton(disk, QStringLiteral("更新")), nullptr);
    model().setDisk(DiskInfo{1, 1, 1});
    findButton(disk, QStringLiteral("更新"))->click();
    EXPECT_EQ(disk->figure("合計"), bytes(500'000'000'000));
    // A separate /home gets its own line, and every refresh reads it again.
    const auto homeLine = [disk] {
        return std::ranges::any_of(disk->findChildren<QLabel*>(), [](const QLabel* label) {
            return label->isVisible() && label->text() == QStringLiteral("ホーム (/srv/home)");
        });
    };
    EXPECT_FALSE(homeLine());
    for (const std::int64_t free : {50'000'000'000, 70'000'000'000}) {
        homeVolumeReading = HomeVolume{"/srv/home", DiskInfo{200'000'000'000, free, free}};
        findButton(disk, QStringLiteral("更新"))->click();
        EXPECT_TRUE(homeLine());
        EXPECT_EQ(disk->figure("ホーム 空き"), bytes(free));
        EXPECT_EQ(disk->figure("ホーム 使用中"), bytes(200'000'000'000 - free));
        const auto* bar = disk->findChild<DiskUsageBar*>("ホーム 使用率");
        ASSERT_NE(bar, nullptr);
        EXPECT_DOUBLE_EQ(bar->fraction(), (200'000'000'000 - free) / 200e9);
    }

    // The log: the newest fifteen, newest first, errors in red.
    for (int i = 1; i <= 20; ++i) model().addLog("line " + std::to_string(i), i % 4 == 0);
    const QList<QLabel*>& lines = overview()->logCard()->messages();
    ASSERT_EQ(lines.size(), 15);
    EXPECT_EQ(lines.front()->text(), QStringLiteral("line 20"));
    EXPECT_EQ(lines.back()->text(), QStringLiteral("line 6"));
    EXPECT_EQ(lines[0]->palette().color(QPalette::WindowText), PaletteRoles::red());
    EXPECT_NE(lines[1]->palette().color(QPalette::WindowText), PaletteRoles::red());

    // The tool rows ask or open their screens.
    const auto tool = [&](int index) {
        return open<OverviewView>(Catalog::kOverviewID)
            ->toolsCard()
            ->findChildren<QPushButton*>()
            .at(index);
    };
    tool(0)->click();
    EXPECT_EQ(model().pendingAction()->title, "使用されていないランタイムを削除しますか？");
    model().setPendingAction(std::nullopt);
    // The exploration buttons name the folders their rows walk.
    EXPECT_EQ(tool(3)->text(), QStringLiteral("~/.local/share"));
    EXPECT_EQ(tool(4)->text(), QStringLiteral("~/sys/var"));
    int index = 0;
    for (const char* target : {"sim_runtimes", "snapshots", "explore_lib", "explore_syslib"}) {
        tool(++index)->click();
        EXPECT_EQ(model().selectedID(), target);
    }
}

TEST_F(OverviewTest, QuickCleanAndBiggestFollowTheScansAndTheTicks) {
    // Sizes in blocks of 100 kB. "tie_a" and "tie_b" are equal and keep list
    // order; the exploration group and the snapshots kind never rank; an
    // empty file is a root of 0 bytes; "absent" is nowhere.
    std::vector<CleanCategory> rows;
    const auto add = [&](const std::string& id, const std::string& group, bool quick) {
        rows.push_back(folderRow(id, "名前 " + id, quick, group));
    };
    for (const auto& [id, blocks] : std::vector<std::pair<std::string, int>>{
             {"small", 1}, {"tie_a", 3}, {"big", 9}, {"mid", 5}, {"tie_b", 3}, {"large", 7}}) {
        for (int i = 0; i < blocks; ++i) makeFile(id + "/f" + std::to_string(i), 100'000);
        add(id, "キャッシュ", id == "big" || id == "mid");
    }
    makeFile("empty", 0);
    for (int i = 0; i < 20; ++i) makeFile("explore/f" + std::to_string(i), 100'000);
    add("empty", "キャッシュ", true);
    add("absent", "キャッシュ", true);
    add("explore", "探索", false);
    rows.push_back({"snapshots", "システム", "", "", "", Risk::safe, CategoryKind::snapshots, {}});
    launch(rows);
    settle();

    const QList<BiggestRow*>& ranked = overview()->biggestCard()->rows();
    std::vector<std::string> ids;
    for (const BiggestRow* row : ranked) ids.push_back(row->id());
    ASSERT_EQ(ids, (std::vector<std::string>{"big", "large", "mid", "tie_a", "tie_b", "small"}));
    const std::int64_t big = model().state("big").bytes;
    const std::int64_t mid = model().state("mid").bytes;
    EXPECT_DOUBLE_EQ(ranked[0]->fraction(), 1.0);
    EXPECT_DOUBLE_EQ(ranked[2]->fraction(), static_cast<double>(mid) / static_cast<double>(big));
    EXPECT_EQ(ranked[1]->sizeText(), bytes(model().state("large").bytes));

    // Quick clean offers its categories in list order. Measured and
    // non-empty: usable. Empty: ticked but unusable, adds nothing. Missing: "なし".
    QuickCleanCard* quick = overview()->quickCleanCard();
    ids.clear();
    for (const QuickCleanRow* row : quick->rows()) ids.push_back(row->id());
    EXPECT_EQ(ids, (std::vector<std::string>{"big", "mid", "empty", "absent"}));
    for (const auto& [id, size, usable] : std::vector<std::tuple<std::string, QString, bool>>{
             {"big", bytes(big), true}, {"empty", bytes(0), false}, {"absent", "なし", false}}) {
        EXPECT_EQ(quickRow(id)->sizeText(), size) << id;
        EXPECT_TRUE(quickRow(id)->checkBox()->isChecked()) << id;
        EXPECT_EQ(quickRow(id)->checkBox()->isEnabled(), usable) << id;
    }
    EXPECT_EQ(quick->totalLabel()->accessibleName(),
              QStringLiteral("選択合計: ") + bytes(big + mid));

    // Unticking takes the category out of the total and out of the request.
    quickRow("mid")->checkBox()->click();
    EXPECT_EQ(quick->total(), big);
    quick->deleteButton()->click();
    ASSERT_TRUE(model().pendingAction().has_value());
    EXPECT_NE(model().pendingAction()->message.find("名前 big"), std::string::npos);
    EXPECT_EQ(model().pendingAction()->message.find("名前 mid"), std::string::npos);
    model().setPendingAction(std::nullopt);
    // Unticking everything leaves nothing to delete.
    quickRow("big")->checkBox()->click();
    EXPECT_FALSE(quick->deleteButton()->isEnabled());

    // A ranked row opens its category; the ticks do not outlive the overview.
    ranked[3]->click();
    EXPECT_EQ(model().selectedID(), std::optional<std::string>("tie_a"));
    open<OverviewView>("__overview__");
    EXPECT_TRUE(quickRow("mid")->checkBox()->isChecked());
    EXPECT_EQ(overview()->quickCleanCard()->total(), big + mid);
}

// Folders the scans could not read are counted where the sizes show: on the
// overview for the ranked categories together, and in each one's header.
// Root reads every folder, so the checks run as kelvane-test.
TEST_F(OverviewTest, UnreadableFoldersAreCountedWhereTheSizesShow) {
    if (!testUserFolder() && ::geteuid() == 0) {
        if (!canRunAsTestUser()) GTEST_SKIP() << "needs runuser and the kelvane-test account";
        EXPECT_EQ(rerunAsTestUser("/"), 0) << "the checks run as kelvane-test failed";
        return;
    }
    for (const char* file : {"a/locked/x", "a/shut/y", "a/open/z", "b/locked/w", "c/open/v"})
        makeFile(file, 4096);
    for (const char* folder : {"a/locked", "a/shut", "b/locked"})
        ASSERT_EQ(::chmod(path(folder).c_str(), 0), 0);
    std::vector<CleanCategory> rows;
    for (const char* id : {"a", "b", "c"}) rows.push_back(folderRow(id, id, false));
    launch(rows);
    settle();
    const QWidget* note = overview()->biggestCard()->unreadableNote();
    EXPECT_TRUE(note->isVisibleTo(overview()));
    EXPECT_EQ(overview()->biggestCard()->unreadableText()->text(),
              QStringLiteral("2 カテゴリの 3 箇所が読み取れませんでした (アクセス権)。"
                             "これらのサイズを測るには管理者権限が必要です。"));
    const auto* detail = open<CategoryDetailView>("a");
    EXPECT_EQ(detail->header().unreadableText()->text(),
              QStringLiteral("2 箇所が読み取れませんでした (アクセス権)。"
                             "正確に測るには管理者権限が必要です。"));
    for (const char* folder : {"a/locked", "a/shut", "b/locked"})
        ::chmod(path(folder).c_str(), 0755);
    model().scanAll();
    open<OverviewView>(Catalog::kOverviewID);
    EXPECT_FALSE(overview()->biggestCard()->unreadableNote()->isVisibleTo(overview()));
}

TEST_F(OverviewTest, ToolScreensListsLoadWithTheirOwnReloadAndEveryDeletionAsks) {
    services->runtimeList = {
        runtime("org.a.Platform", "Flatpak", 8'000'000'000, "user", {}),
        runtime("org.b.Platform", "Flatpak", 6'000'000'000, "system", {"org.b.App", "org.c.App"}),
        runtime("core22", "snap", 2'000'000'000, "", {}),
        runtime("org.d.Odd", "other", 0, "extra", {}),
    };
    launch(std::nullopt, false);
    auto* snapshots = open<SnapshotsView>("snapshots");
    ASSERT_NE(snapshots, nullptr);
    EXPECT_EQ(rows(snapshots), Rows{{"ローカルスナップショットはありません"}});
    EXPECT_FALSE(snapshots->deleteAllButton()->isEnabled());
    // "更新" reloads; while it runs only "取得中…" shows, though the old list is held.
    for (const std::string n : {"1", "2", "3"}) {
        services->snapshotList.push_back({LocalSnapshot::Maker::snapper, "root", n, "",
                                          "/.snapshots/" + n + "/snapshot",
                                          "2024-05-0" + n + " 10:11:12", "", 4096});
    }
    reload()->trigger();
    settle();
    ASSERT_EQ(rows(snapshots).size(), 3u);
    EXPECT_EQ(rows(snapshots)[1].first(), "2024-05-02 10:11:12");
    reload()->trigger();
    EXPECT_EQ(rows(snapshots), Rows{{"取得中…"}});
    settle();
    // One row's "削除" asks for that snapshot alone, "すべて削除" for all.
    findButton(snapshots->list()->rows()[1], QStringLiteral("削除"))->click();
    ASSERT_TRUE(model().pendingAction().has_value());
    EXPECT_EQ(model().pendingAction()->title, "ローカルスナップショット 1 件を削除しますか？");
    EXPECT_NE(model().pendingAction()->message.find("2024-05-02 10:11:12"), std::string::npos);
    EXPECT_EQ(model().pendingAction()->message.find("2024-05-01 10:11:12"), std::string::npos);
    snapshots->deleteAllButton()->click();
    EXPECT_EQ(model().pendingAction()->title, "ローカルスナップショット 3 件を削除しますか？");
    model().setPendingAction(std::nullopt);

    auto* runtimes = open<RuntimesView>("sim_runtimes");
    ASSERT_NE(runtimes, nullptr);
    EXPECT_EQ(runtimes->totalLabel()->text(), bytes(16'000'000'000));
    const QList<QWidget*> list = runtimes->list()->rows();
    ASSERT_EQ(list.size(), 4);
    const std::vector<const char*> symbols{"shippingbox", "shippingbox", "square.stack.fill",
                                           "square.stack.3d.down.right"};
    for (int i = 0; i < 4; ++i) EXPECT_NE(list[i]->findChild<QLabel*>(symbols[i]), nullptr) << i;
    // Where each lives and who uses it; an unused runtime says so.
    EXPECT_EQ(rows(runtimes),
              (Rows{{"org.a.Platform 1.0", "Flatpak (ユーザー)  ·  x86_64",
                     "使用しているアプリはありません", bytes(8'000'000'000)},
                    {"org.b.Platform 1.0", "Flatpak (システム)  ·  x86_64",
                     "使用中のアプリ: org.b.App, org.c.App", bytes(6'000'000'000)},
                    {"core22 1.0", "snap  ·  無効化された古いリビジョン (snap revert 用)",
                     "現在のリビジョンは残ります", bytes(2'000'000'000)},
                    {"org.d.Odd 1.0", "other (extra)  ·  x86_64", "使用しているアプリはありません",
                     bytes(0)}}));
    // A runtime an app needs cannot be deleted, and the button says why.
    const auto row = [&](int i) { return qobject_cast<RuntimeRow*>(list[i]); };
    EXPECT_FALSE(row(1)->deleteButton()->isEnabled());
    EXPECT_EQ(row(1)->deleteButton()->toolTip(),
              QStringLiteral("org.b.App, org.c.App が使用しているため削除できません"));
    EXPECT_TRUE(row(0)->deleteButton()->toolTip().isEmpty());
    row(2)->deleteButton()->click();
    EXPECT_EQ(model().pendingAction()->title, "core22 1.0 を削除しますか？");
    findButton(runtimes, QStringLiteral("使用されていないランタイムを削除"))->click();
    EXPECT_EQ(model().pendingAction()->title, "使用されていないランタイムを削除しますか？");
    model().setPendingAction(std::nullopt);
    // An empty answer shows the hint.
    services->runtimeList.clear();
    reload()->trigger();
    settle();
    EXPECT_EQ(rows(runtimes), Rows{{"ランタイムが見つかりません (Flatpak / Snap "
                                    "がインストールされていないか、削除できるものがありません)"}});
    EXPECT_EQ(runtimes->totalLabel()->text(), bytes(0));
    // Leaving the tool screens takes their toolbar button away.
    open<OverviewView>("__overview__");
    EXPECT_EQ(reload(), nullptr);
}

// Two launches with a folder grown between them: the card names it, a row opens it in the
// browser, whose column shows the same change.
TEST_F(OverviewTest, WhatGrewShowsOnTheCardAndInTheColumn) {
    historyFolder = path("state");
    clockNow = 1'750'000'000;
    const std::vector<CleanCategory> rows{CleanCategory{"c",
                                                        "キャッシュ",
                                                        "c",
                                                        "folder",
                                                        "",
                                                        Risk::safe,
                                                        CategoryKind::folders,
                                                        {path("c")},
                                                        true,
                                                        false}};
    makeFile("c/steady/f", 100'000);
    launch(rows);
    auto* card = screen<OverviewView>()->growthCard();
    ASSERT_NE(card, nullptr);
    ASSERT_TRUE(waitFor([&] { return model().historyRead() && runningTaskCount() == 0; }));
    EXPECT_TRUE(card->rows().isEmpty());
    EXPECT_EQ(card->placeholder()->text(),
              "比較できる測定がまだありません。次回の起動後に比較できます。");

    app.reset();
    clockNow += 3600;
    makeFile("c/grew/f", 2'000'000);
    launch(rows);
    card = screen<OverviewView>()->growthCard();
    ASSERT_TRUE(waitFor([&] { return !card->rows().isEmpty(); }));
    GrowthRowButton* row = card->rows().front();
    EXPECT_EQ(row->titleText(), "~/c/grew");
    EXPECT_TRUE(row->changeText().startsWith("新規 +")) << row->changeText().toStdString();
    EXPECT_FALSE(card->placeholder()->isVisible());

    // A week back there is nothing yet: the card says from when.
    card->pointChooser()->setCurrentIndex(1);
    ASSERT_TRUE(waitFor([&] { return card->rows().isEmpty() && runningTaskCount() == 0; }));
    EXPECT_TRUE(card->placeholder()->text().endsWith(" 以降に比較できます。"));
    card->pointChooser()->setCurrentIndex(0);
    ASSERT_TRUE(waitFor([&] { return !card->rows().isEmpty(); }));

    card->rows().front()->click();
    settle();
    ASSERT_EQ(model().browserPath(), path("c/grew"));
    model().goUp();
    settle();
    auto* detail = screen<CategoryDetailView>();
    ASSERT_NE(detail, nullptr);
    const EntryListModel& list = detail->list().entries();
    ASSERT_TRUE(waitFor([&] { return list.changeAt(list.rowOf(path("c/grew"))) != nullptr; }));
    EXPECT_EQ(list.changeAt(list.rowOf(path("c/grew")))->kind, ChangeKind::appeared);
    EXPECT_EQ(list.changeAt(list.rowOf(path("c/steady")))->net(), 0);
}

}  // namespace
}  // namespace kelvane::test
