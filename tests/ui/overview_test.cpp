#include <sys/stat.h>

#include <QCheckBox>
#include <QLabel>
#include <QPushButton>

#include "core/fmt.h"
#include "ui/overview/biggest_card.h"
#include "ui/overview/biggest_row.h"
#include "ui/app/content_view.h"
#include "ui/app/detail_router.h"
#include "ui/overview/disk_card.h"
#include "ui/overview/full_disk_access_banner.h"
#include "ui/overview/log_card.h"
#include "ui/overview/overview_view.h"
#include "ui/components/palette_roles.h"
#include "ui/overview/quick_clean_card.h"
#include "ui/overview/quick_clean_row.h"
#include "ui/overview/tools_card.h"
#include "ui_fixture.h"
#include "widget_find.h"

namespace kelvane::test {
namespace {

class OverviewTest : public UiTest {
  protected:
    OverviewView* overview() {
        return qobject_cast<OverviewView*>(app->window().content()->router()->current());
    }
    QuickCleanRow* quickRow(const std::string& id) {
        for (QuickCleanRow* row : overview()->quickCleanCard()->rows()) {
            if (row->id() == id) return row;
        }
        return nullptr;
    }
    QString bytes(std::int64_t n) { return QString::fromStdString(Fmt::bytes(n)); }
    static QString text(const QLabel* label) { return label->accessibleName(); }
};

// A folder category over home/NAME for hand-made catalogs.
CleanCategory folder(const std::string& home, const std::string& id, const std::string& group,
                     bool quick = false) {
    CleanCategory c;
    c.id = id;
    c.group = group;
    c.name = "名前 " + id;
    c.icon = "folder";
    c.patterns = {home + "/" + id};
    c.scanOnLaunch = true;
    c.quickClean = quick;
    return c;
}

TEST_F(OverviewTest, BeforeAnyScanEverythingWaits) {
    launch(std::nullopt, false);
    ASSERT_NE(overview(), nullptr);
    EXPECT_EQ(overview()->windowTitle(), QStringLiteral("概要"));
    EXPECT_TRUE(overview()->biggestCard()->placeholder()->isVisible());
    EXPECT_EQ(overview()->biggestCard()->placeholder()->text(), QStringLiteral("スキャン中…"));
    EXPECT_TRUE(overview()->biggestCard()->rows().isEmpty());

    const QuickCleanCard* quick = overview()->quickCleanCard();
    ASSERT_FALSE(quick->rows().isEmpty());
    for (const QuickCleanRow* row : quick->rows()) {
        // Ticked on appearance, but nothing measured yet to delete.
        EXPECT_TRUE(row->checkBox()->isChecked()) << row->id();
        EXPECT_FALSE(row->checkBox()->isEnabled()) << row->id();
    }
    EXPECT_EQ(quick->total(), 0);
    EXPECT_EQ(text(quick->totalLabel()), QStringLiteral("選択合計: ") + bytes(0));
    EXPECT_FALSE(quick->deleteButton()->isEnabled());
    EXPECT_TRUE(overview()->logCard()->placeholder()->isVisible());
    EXPECT_FALSE(overview()->banner()->isVisible());
}

TEST_F(OverviewTest, QuickCleanFollowsScansAndTheTicks) {
    makeFile("full/a.bin", 300'000);
    makeFile("full/b.bin", 200'000);
    makeFile("other/c.bin", 100'000);
    // A folder takes a block of its own; an empty file is a root of 0 bytes.
    makeFile("empty", 0);
    const std::vector<CleanCategory> rows{
        folder(home, "full", "キャッシュ", true), folder(home, "empty", "キャッシュ", true),
        folder(home, "absent", "キャッシュ", true), folder(home, "other", "キャッシュ", true),
        folder(home, "not_quick", "キャッシュ")};
    launch(rows);
    waitForScans();

    QuickCleanCard* quick = overview()->quickCleanCard();
    ASSERT_EQ(quick->rows().size(), 4);  // only the quick-clean categories, in list order
    EXPECT_EQ(quick->rows()[1]->id(), "empty");
    const std::int64_t full = model().state("full").bytes;
    const std::int64_t other = model().state("other").bytes;
    ASSERT_GT(full, 0);

    // Measured and non-empty: usable. Empty: ticked but unusable, adds nothing.
    // Missing: "なし".
    EXPECT_TRUE(quickRow("full")->checkBox()->isEnabled());
    EXPECT_TRUE(quickRow("empty")->checkBox()->isChecked());
    EXPECT_FALSE(quickRow("empty")->checkBox()->isEnabled());
    EXPECT_EQ(quickRow("empty")->sizeText(), bytes(0));
    EXPECT_EQ(quickRow("absent")->sizeText(), QStringLiteral("なし"));
    EXPECT_FALSE(quickRow("absent")->checkBox()->isEnabled());
    EXPECT_EQ(quickRow("full")->sizeText(), bytes(full));
    EXPECT_EQ(quick->total(), full + other);
    EXPECT_EQ(text(quick->totalLabel()), QStringLiteral("選択合計: ") + bytes(full + other));
    EXPECT_TRUE(quick->deleteButton()->isEnabled());

    // Unticking takes the category out of the total and out of the request.
    quickRow("other")->checkBox()->click();
    EXPECT_EQ(quick->total(), full);
    quick->deleteButton()->click();
    ASSERT_TRUE(model().pendingAction().has_value());
    EXPECT_EQ(model().pendingAction()->title, "クイッククリーンを実行しますか？");
    EXPECT_NE(model().pendingAction()->message.find("名前 full"), std::string::npos);
    EXPECT_EQ(model().pendingAction()->message.find("名前 other"), std::string::npos);
    model().setPendingAction(std::nullopt);

    // Unticking everything leaves nothing to delete.
    quickRow("full")->checkBox()->click();
    EXPECT_FALSE(quick->deleteButton()->isEnabled());

    // The ticks do not outlive the overview: coming back ticks everything again.
    model().setSelectedID("full");
    waitFor([&] { return overview() == nullptr; });
    model().setSelectedID("__overview__");
    waitFor([&] { return overview() != nullptr; });
    EXPECT_TRUE(quickRow("other")->checkBox()->isChecked());
    EXPECT_EQ(overview()->quickCleanCard()->total(), full + other);
}

TEST_F(OverviewTest, BiggestShowsSixLargestWithStableTies) {
    // Sizes in blocks of 100 kB; "tie_a" and "tie_b" are equal and must keep
    // list order; the exploration group and the snapshots kind never show.
    const std::vector<std::pair<std::string, int>> sizes{{"small", 1}, {"tie_a", 3}, {"big", 9},
                                                         {"mid", 5},   {"tie_b", 3}, {"tiny", 0},
                                                         {"large", 7}};
    std::vector<CleanCategory> rows;
    for (const auto& [id, blocks] : sizes) {
        for (int i = 0; i < blocks; ++i) makeFile(id + "/f" + std::to_string(i), 100'000);
        std::filesystem::create_directories(path(id));
        rows.push_back(folder(home, id, "キャッシュ"));
    }
    for (int i = 0; i < 20; ++i) makeFile("explore/f" + std::to_string(i), 100'000);
    rows.push_back(folder(home, "explore", "探索"));
    CleanCategory snapshots;
    snapshots.id = "snapshots";
    snapshots.group = "システム";
    snapshots.kind = CategoryKind::snapshots;
    rows.push_back(snapshots);
    launch(rows);
    waitForScans();

    const QList<BiggestRow*>& shown = overview()->biggestCard()->rows();
    std::vector<std::string> ids;
    for (const BiggestRow* row : shown) ids.push_back(row->id());
    EXPECT_EQ(ids, (std::vector<std::string>{"big", "large", "mid", "tie_a", "tie_b", "small"}));
    EXPECT_FALSE(overview()->biggestCard()->placeholder()->isVisible());
    ASSERT_EQ(shown.size(), 6);
    const double first = static_cast<double>(model().state("big").bytes);
    EXPECT_DOUBLE_EQ(shown[0]->fraction(), 1.0);
    EXPECT_DOUBLE_EQ(shown[2]->fraction(), static_cast<double>(model().state("mid").bytes) / first);
    EXPECT_EQ(shown[1]->sizeText(), bytes(model().state("large").bytes));
    EXPECT_EQ(shown[1]->nameText(), QStringLiteral("名前 large"));

    // A row opens its category.
    shown[3]->click();
    EXPECT_EQ(model().selectedID(), std::optional<std::string>("tie_a"));
}

TEST_F(OverviewTest, DiskCardFigures) {
    launch(std::nullopt, false);
    DiskCard* card = overview()->diskCard();
    // The fixture's disk: 500 GB, 120 GB free, no purgeable room.
    EXPECT_EQ(card->figure("使用中"), bytes(380'000'000'000));
    EXPECT_EQ(card->figure("空き"), bytes(120'000'000'000));
    EXPECT_EQ(card->figure("合計"), bytes(500'000'000'000));

    model().setDisk(DiskInfo{1'000'000'000'000, 300'000'000'000, 450'000'000'000});
    EXPECT_EQ(card->figure("パージ可能 (macOS が自動解放)"), bytes(150'000'000'000));
    // Less room for important data than free room is never a negative figure.
    model().setDisk(DiskInfo{1'000'000'000'000, 300'000'000'000, 200'000'000'000});
    EXPECT_EQ(card->figure("パージ可能 (macOS が自動解放)"), bytes(0));
    EXPECT_EQ(card->figure("使用中"), bytes(700'000'000'000));

    model().setDisk(std::nullopt);
    EXPECT_TRUE(showsLabel(card, QStringLiteral("ディスク情報を取得できません")));
    // "更新" is hidden with the figures; reading the disk again brings them back.
    EXPECT_EQ(findButton(card, QStringLiteral("更新")), nullptr);
    model().setDisk(DiskInfo{1, 1, 1});
    ASSERT_NE(findButton(card, QStringLiteral("更新")), nullptr);
    findButton(card, QStringLiteral("更新"))->click();
    EXPECT_EQ(card->figure("合計"), bytes(500'000'000'000));
    EXPECT_FALSE(showsLabel(card, QStringLiteral("ディスク情報を取得できません")));
}

TEST_F(OverviewTest, LogShowsNewestFifteenNewestFirstErrorsInRed) {
    launch(std::nullopt, false);
    for (int i = 1; i <= 20; ++i) model().addLog("line " + std::to_string(i), i % 4 == 0);
    const QList<QLabel*>& lines = overview()->logCard()->messages();
    ASSERT_EQ(lines.size(), 15);
    EXPECT_EQ(lines.front()->text(), QStringLiteral("line 20"));
    EXPECT_EQ(lines.back()->text(), QStringLiteral("line 6"));
    EXPECT_FALSE(overview()->logCard()->placeholder()->isVisible());
    for (const QLabel* line : lines) {
        const bool error = line->text().mid(5).toInt() % 4 == 0;
        EXPECT_EQ(line->palette().color(QPalette::WindowText) == PaletteRoles::red(), error)
            << line->text().toStdString();
        EXPECT_EQ(line->accessibleName(), line->text());
    }
}

TEST_F(OverviewTest, BannerFollowsTheAccessProbe) {
    if (::geteuid() == 0) GTEST_SKIP() << "root reads any folder; the probe cannot be denied";
    std::filesystem::create_directories(path("Library/Safari"));
    ::chmod(path("Library/Safari").c_str(), 0);
    launch(std::nullopt, false);
    EXPECT_TRUE(overview()->banner()->isVisible());
    ::chmod(path("Library/Safari").c_str(), 0755);
    findButton(overview()->banner(), QStringLiteral("再確認"))->click();
    EXPECT_FALSE(overview()->banner()->isVisible());
}

TEST_F(OverviewTest, ToolRowsOpenScreensAndAsk) {
    launch(std::nullopt, false);
    ToolsCard* tools = overview()->toolsCard();
    const auto buttons = tools->findChildren<QPushButton*>();
    QStringList labels;
    for (const QPushButton* b : buttons) labels << b->text();
    EXPECT_EQ(labels, (QStringList{"実行", "表示", "表示", "~/Library", "/Library"}));

    buttons[0]->click();
    ASSERT_TRUE(model().pendingAction().has_value());
    EXPECT_EQ(model().pendingAction()->title, "使用不可のシミュレータを削除しますか？");
    model().setPendingAction(std::nullopt);

    const std::vector<std::pair<int, std::string>> targets{
        {1, "sim_runtimes"}, {2, "snapshots"}, {3, "explore_lib"}, {4, "explore_syslib"}};
    for (const auto& [index, id] : targets) {
        model().setSelectedID("__overview__");
        waitFor([&] { return overview() != nullptr; });
        const auto again = overview()->toolsCard()->findChildren<QPushButton*>();
        again[index]->click();
        EXPECT_EQ(model().selectedID(), std::optional<std::string>(id));
        waitFor([&] { return overview() == nullptr; });
    }
}

}  // namespace
}  // namespace kelvane::test
