#include <QAction>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QPushButton>
#include <QToolBar>
#include <QToolButton>
#include <QTimer>
#include <QTreeView>

#include "core/fmt.h"

#include "ui/app/content_view.h"
#include "ui/app/detail_router.h"
#include "ui/sidebar/sidebar_footer.h"
#include "ui/sidebar/sidebar_model.h"
#include "ui/sidebar/sidebar_view.h"
#include "ui/components/size_bar.h"
#include "ui_fixture.h"

namespace kelvane::test {
namespace {

using Status = CategoryState::Status;

SidebarModel& sidebarModel(KelvaneApp& app) {
    return *app.window().content()->sidebar()->itemModel();
}

QModelIndex rowOf(KelvaneApp& app, const std::string& id) {
    return sidebarModel(app).indexForSelection(id);
}

QString trailing(KelvaneApp& app, const std::string& id) {
    return rowOf(app, id).data(SidebarModel::TrailingTextRole).toString();
}

TEST_F(UiTest, SidebarListsSectionsInOrderWithoutEmptyOnes) {
    launch(std::nullopt, false);
    const SidebarModel& m = sidebarModel(*app);
    ASSERT_GE(m.rowCount(), 1);
    EXPECT_EQ(m.index(0, 0).data().toString(), QStringLiteral("概要"));
    QStringList headings;
    for (int r = 1; r < m.rowCount(); ++r) headings << m.index(r, 0).data().toString();
    EXPECT_EQ(headings, (QStringList{"キャッシュ", "ログ", "Xcode / シミュレータ", "開発ツール",
                                     "アプリ / ユーザーデータ", "システム", "探索"}));
    // Rows within a section keep the catalog's order.
    const QModelIndex logs = m.index(2, 0);
    ASSERT_EQ(m.rowCount(logs), 2);
    EXPECT_EQ(m.index(0, 0, logs).data().toString(), QStringLiteral("ユーザーログ"));
    EXPECT_EQ(m.index(1, 0, logs).data().toString(), QStringLiteral("システムログ"));

    // A catalog without the "システム" group shows no empty heading for it.
    std::vector<CleanCategory> rows = Catalog::build(home, home + "/t");
    rows.erase(std::remove_if(rows.begin(), rows.end(),
                              [](const CleanCategory& c) { return c.group == "システム"; }),
               rows.end());
    app.reset();
    launch(rows, false);
    QStringList shown;
    for (int r = 1; r < sidebarModel(*app).rowCount(); ++r) {
        shown << sidebarModel(*app).index(r, 0).data().toString();
    }
    EXPECT_FALSE(shown.contains(QStringLiteral("システム")));
    EXPECT_EQ(shown.size(), 6);
}

TEST_F(UiTest, RowsFollowTheScanFromDashToFinalSize) {
    makeFile("Library/Caches/a/blob", 300'000);
    makeFile("Library/Logs/x.log", 5'000);
    launch(std::nullopt, false);
    EXPECT_EQ(trailing(*app, "user_caches"), QStringLiteral("—"));
    EXPECT_EQ(trailing(*app, "snapshots"), QString());
    EXPECT_EQ(rowOf(*app, "snapshots").data(SidebarModel::TrailingKindRole).toInt(),
              SidebarModel::chevron);
    EXPECT_EQ(rowOf(*app, "sim_runtimes").data(SidebarModel::TrailingKindRole).toInt(),
              SidebarModel::chevron);
    SidebarFooter* footer = app->window().content()->sidebar()->footer();
    EXPECT_EQ(footer->totalText(), QString::fromStdString(Fmt::bytes(0)));
    EXPECT_TRUE(footer->runningText().isEmpty());

    // Every change of the category's state reaches its row as one dataChanged.
    QStringList seen;
    QObject::connect(&sidebarModel(*app), &QAbstractItemModel::dataChanged,
                     [&](const QModelIndex& from, const QModelIndex& to) {
                         EXPECT_EQ(from, to);
                         if (from == rowOf(*app, "user_caches")) seen << trailing(*app, "user_caches");
                     });
    model().startInitialScan();
    EXPECT_TRUE(trailing(*app, "user_caches").endsWith(QStringLiteral("…")));
    EXPECT_FALSE(footer->runningText().isEmpty());
    EXPECT_TRUE(footer->runningText().endsWith(QStringLiteral(" 件スキャン中")));
    waitForScans();
    ASSERT_FALSE(seen.isEmpty());
    EXPECT_TRUE(seen.front().endsWith(QStringLiteral("…")));
    const std::int64_t bytes = model().state("user_caches").bytes;
    EXPECT_GT(bytes, 0);
    EXPECT_EQ(trailing(*app, "user_caches"), QString::fromStdString(Fmt::bytes(bytes)));
    EXPECT_EQ(trailing(*app, "mail"), QStringLiteral("なし"));
    EXPECT_TRUE(footer->runningText().isEmpty());

    std::int64_t quick = 0;
    for (const CleanCategory& c : model().categories()) {
        if (c.quickClean) quick += model().state(c.id).bytes;
    }
    EXPECT_EQ(footer->totalText(), QString::fromStdString(Fmt::bytes(quick)));
    EXPECT_EQ(rowOf(*app, "user_caches").data(Qt::AccessibleTextRole).toString(),
              QStringLiteral("ユーザーキャッシュ, ") + QString::fromStdString(Fmt::bytes(bytes)));
}

TEST_F(UiTest, SelectionIsBoundBothWays) {
    launch(std::nullopt, false);
    QTreeView* list = app->window().content()->sidebar()->list();
    list->setCurrentIndex(rowOf(*app, "trash"));
    EXPECT_EQ(model().selectedID(), std::optional<std::string>("trash"));
    EXPECT_EQ(app->window().content()->router()->currentKey(), QStringLiteral("folders:trash"));
    Screen* first = app->window().content()->router()->current();
    model().setSelectedID(std::string("trash"));  // the same category keeps its screen
    EXPECT_EQ(app->window().content()->router()->current(), first);
    model().setSelectedID(std::string("snapshots"));
    EXPECT_EQ(list->currentIndex(), rowOf(*app, "snapshots"));
    EXPECT_EQ(app->window().content()->router()->currentKey(), QStringLiteral("snapshots:snapshots"));
    model().setSelectedID(std::string("no-such-id"));
    EXPECT_EQ(app->window().content()->router()->currentKey(), QStringLiteral("overview"));
    // Headings cannot be selected.
    EXPECT_FALSE(sidebarModel(*app).flags(sidebarModel(*app).index(1, 0)) & Qt::ItemIsSelectable);
}

TEST_F(UiTest, CancellingAConfirmationNeverPerforms) {
    launch(std::nullopt, false);
    int performed = 0;
    model().setPendingAction(PendingAction("題", "本文", "完全に削除", [&] { ++performed; }));
    ContentView* content = app->window().content();
    ASSERT_TRUE(waitFor([&] { return content->openDialog() != nullptr; }));
    QMessageBox* box = content->openDialog();
    // Both Return and Escape land on "キャンセル".
    ASSERT_NE(box->defaultButton(), nullptr);
    EXPECT_EQ(box->defaultButton()->text(), QStringLiteral("キャンセル"));
    EXPECT_EQ(box->escapeButton(), box->defaultButton());
    QTest::keyClick(box, Qt::Key_Return);
    ASSERT_TRUE(waitFor([&] { return content->openDialog() == nullptr; }));
    EXPECT_EQ(performed, 0);
    EXPECT_FALSE(model().pendingAction().has_value());

    model().setPendingAction(PendingAction("題", "本文", "完全に削除", [&] { ++performed; }));
    ASSERT_TRUE(waitFor([&] { return content->openDialog() != nullptr; }));
    QAbstractButton* destructive = nullptr;
    for (QAbstractButton* b : content->openDialog()->buttons()) {
        if (b->text() == QStringLiteral("完全に削除")) destructive = b;
    }
    ASSERT_NE(destructive, nullptr);
    destructive->click();
    ASSERT_TRUE(waitFor([&] { return content->openDialog() == nullptr; }));
    EXPECT_EQ(performed, 1);
    EXPECT_FALSE(model().pendingAction().has_value());

    model().setNotice(std::string("おしらせ"));
    ASSERT_TRUE(waitFor([&] { return content->openDialog() != nullptr; }));
    EXPECT_EQ(content->openDialog()->informativeText(), QStringLiteral("おしらせ"));
    content->openDialog()->buttons().front()->click();
    ASSERT_TRUE(waitFor([&] { return content->openDialog() == nullptr; }));
    EXPECT_FALSE(model().notice().has_value());
}

TEST_F(UiTest, BusyMessageCoversTheContent) {
    launch(std::nullopt, false);
    auto* content = app->window().content();
    model().confirmDelete({path("nothing-here")}, true);
    ASSERT_TRUE(waitFor([&] { return content->openDialog() != nullptr; }));
    for (QAbstractButton* b : content->openDialog()->buttons()) {
        if (b->text() == QStringLiteral("完全に削除")) b->click();
    }
    // The deletion posts its busy text at once and clears it when done.
    bool sawBusy = model().busyMessage().has_value();
    waitFor([&] {
        sawBusy = sawBusy || model().busyMessage().has_value();
        return !model().busyMessage() && model().notice().has_value();
    });
    EXPECT_TRUE(sawBusy);
}

TEST_F(UiTest, RescanFromMenuShortcutAndToolbar) {
    makeFile("Library/Logs/x.log", 5'000);
    launch(std::nullopt, false);
    QAction* menuItem = nullptr;
    for (QAction* menu : app->window().menuBar()->actions()) {
        for (QAction* item : menu->menu()->actions()) {
            if (item->text() == QStringLiteral("すべて再スキャン")) menuItem = item;
        }
    }
    ASSERT_NE(menuItem, nullptr);
    EXPECT_EQ(menuItem->shortcut(), QKeySequence(Qt::CTRL | Qt::Key_R));
    menuItem->trigger();
    EXPECT_EQ(model().state("user_logs").status, Status::scanning);
    waitForScans();

    QStringList labels;
    for (QAction* a : app->window().toolbar()->actions()) {
        if (!a->isSeparator()) labels << a->text();
    }
    EXPECT_EQ(labels.mid(0, 2), (QStringList{"フォルダを追加", "すべて再スキャン"}));
    app->window().toolbar()->actions()[1]->trigger();
    EXPECT_EQ(model().state("user_logs").status, Status::scanning);
    waitForScans();
    EXPECT_EQ(model().state("user_logs").status, Status::done);
}

TEST_F(UiTest, ContextMenuOffersWhatTheCategoryAllows) {
    makeFile("proj/f", 10);
    services->folderToChoose = path("proj");
    launch(std::nullopt, false);
    model().addCustomFolder();
    waitForScans();
    // The menu is built from the row; read its actions without showing it.
    SidebarView* sidebar = app->window().content()->sidebar();
    const auto menuFor = [&](const std::string& id) {
        QStringList items;
        const QModelIndex index = rowOf(*app, id);
        EXPECT_TRUE(index.isValid()) << id;
        QTimer::singleShot(0, [&items] {
            if (auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget())) {
                for (QAction* a : menu->actions()) items << a->text();
                menu->close();
            }
        });
        emit sidebar->list()->customContextMenuRequested(sidebar->list()->visualRect(index).center());
        return items;
    };
    EXPECT_EQ(menuFor("user_caches"), QStringList{"再スキャン"});
    EXPECT_EQ(menuFor("custom:" + path("proj")), (QStringList{"再スキャン", "一覧から削除"}));
    EXPECT_TRUE(menuFor("snapshots").isEmpty());
}

TEST(SizeBarGeometry, StubsClampsAndEmpties) {
    EXPECT_EQ(SizeBar::fillWidth(0, 90), 0);
    EXPECT_EQ(SizeBar::fillWidth(-0.5, 90), 0);
    EXPECT_EQ(SizeBar::fillWidth(0.0001, 90), 3);
    EXPECT_EQ(SizeBar::fillWidth(0.5, 90), 45);
    EXPECT_EQ(SizeBar::fillWidth(1.7, 90), 90);
    // Painted: the fill is visible at a tiny share and spans the bar when clamped.
    SizeBar bar(0.0001, Qt::red);
    bar.resize(90, 6);
    QImage image = bar.grab().toImage();
    // A red fill is where the green channel drops.
    EXPECT_LT(qGreen(image.pixel(1, 3)), 150);
    EXPECT_GT(qGreen(image.pixel(40, 3)), 150);
    bar.setFraction(1.7);
    image = bar.grab().toImage();
    EXPECT_LT(qGreen(image.pixel(86, 3)), 150);
    EXPECT_EQ(bar.accessibleName(), QStringLiteral("100%"));
}

}  // namespace
}  // namespace kelvane::test
