#include <QAction>
#include <QItemSelectionModel>
#include <QMenu>
#include <QPushButton>
#include <QScrollBar>
#include <QSignalSpy>
#include <QToolBar>
#include <QToolButton>
#include <algorithm>

#include "core/fmt.h"
#include "ui/browser/breadcrumb_bar.h"
#include "ui/browser/browser_footer.h"
#include "ui/browser/category_detail_view.h"
#include "ui/browser/category_header.h"
#include "ui/app/content_view.h"
#include "ui/app/detail_router.h"
#include "ui/components/empty_state_panel.h"
#include "ui/browser/entry_list_model.h"
#include "ui/browser/entry_list_view.h"
#include "ui/browser/entry_row_delegate.h"
#include "ui/components/size_figure.h"
#include "ui_fixture.h"

namespace kelvane::test {
namespace {

using Status = CategoryState::Status;

CleanCategory folderCategory(const std::string& id, std::vector<std::string> patterns,
                             Risk risk = Risk::safe) {
    return CleanCategory{
        id,    "探索", id, "folder", "説明", risk, CategoryKind::folders, std::move(patterns),
        false, false};
}

class CategoryDetailTest : public UiTest {
  protected:
    // Opens category `id` and waits until its scan and listing have settled.
    // A first visit shows the top level; a measured one-root category opens
    // inside its root, which is where most tests want to be.
    CategoryDetailView& open(const std::string& id) {
        model().setSelectedID(id);
        settle();
        if (model().state(id).roots.size() == 1 && !model().browserPath()) {
            model().setSelectedID(std::nullopt);
            model().setSelectedID(id);
            settle();
        }
        auto* view =
            qobject_cast<CategoryDetailView*>(app->window().content()->router()->current());
        EXPECT_NE(view, nullptr);
        return *view;
    }

    void settle() {
        waitFor([this] {
            return model().scanTasks().empty() && runningTaskCount() == 0 &&
                   !model().entriesLoading();
        });
    }

    static std::vector<std::string> sorted(std::vector<std::string> paths) {
        std::sort(paths.begin(), paths.end());
        return paths;
    }

    static QModelIndex rowFor(EntryListView& list, const std::string& path) {
        return list.entries().index(list.entries().rowOf(path));
    }

    // The paths the list view itself shows selected.
    static std::set<std::string> viewSelection(EntryListView& list) {
        std::set<std::string> paths;
        for (const QModelIndex& index : list.selectionModel()->selectedIndexes())
            paths.insert(EntryListModel::pathOf(index));
        return paths;
    }

    static void click(EntryListView& list, const QModelIndex& row,
                      Qt::KeyboardModifiers modifiers = {}) {
        QTest::mouseClick(list.viewport(), Qt::LeftButton, modifiers,
                          list.visualRect(row).adjusted(40, 0, 0, 0).topLeft() + QPoint(0, 8));
    }
};

TEST_F(CategoryDetailTest, StopCancelsTheScanAndTheHeaderShowsThePartialResult) {
    makeFile("c/one/a.bin", 40'000);
    makeFile("c/b.bin", 9'000);
    launch(std::vector{folderCategory("c", {path("c")})}, false);
    CategoryDetailView& view = open("c");
    const CategoryState measured = model().state("c");
    ASSERT_EQ(measured.status, Status::done);
    ASSERT_GT(measured.bytes, 0);
    EXPECT_TRUE(view.header().counts()->isVisibleTo(&view));
    EXPECT_EQ(view.header().counts()->text(), QString::number(measured.files) + " ファイル / " +
                                                  QString::number(measured.dirs) + " フォルダ");
    EXPECT_TRUE(view.header().emptyMenuButton()->isEnabled());
    EXPECT_TRUE(view.header().emptyMenuButton()->toolTip().isEmpty());
    EXPECT_EQ(view.scanAction()->text(), "再スキャン");
    EXPECT_EQ(view.scanAction()->toolTip(), "このカテゴリを再スキャン");
    const QList<QAction*> toolbar = app->window().findChild<QToolBar*>("mainToolbar")->actions();
    ASSERT_TRUE(toolbar.contains(view.scanAction()));

    // Every slot taken: the rescan stays queued in `scanning` until let go.
    std::vector<ScanLimiter::Slot> held;
    for (int i = 0; i < model().limiter().limit(); ++i) held.push_back(model().limiter().acquire());
    view.scanAction()->trigger();
    ASSERT_EQ(model().state("c").status, Status::scanning);
    EXPECT_EQ(view.scanAction()->text(), "停止");
    // No tooltip of its own (Qt falls back to the label), certainly not the rescan one.
    EXPECT_EQ(view.scanAction()->toolTip(), "停止");
    EXPECT_FALSE(view.header().counts()->isVisibleTo(&view));
    EXPECT_FALSE(view.header().emptyMenuButton()->isEnabled());
    // The toolbar keeps the same button; only its face changed.
    EXPECT_EQ(app->window().findChild<QToolBar*>("mainToolbar")->actions(), toolbar);

    view.scanAction()->trigger();
    EXPECT_TRUE(model().scanTasks().at("c").isCancelled());
    held.clear();
    settle();
    // Stopped before walking anything: what the store already knew stands.
    const CategoryState partial = model().state("c");
    EXPECT_EQ(partial.status, Status::done);
    EXPECT_EQ(partial.files, 0);
    EXPECT_EQ(view.header().figure()->bytes(), partial.bytes);
    EXPECT_EQ(view.header().figure()->accessibleName(),
              QString::fromStdString(Fmt::bytes(partial.bytes)));
    EXPECT_EQ(view.header().counts()->text(), "0 ファイル / 0 フォルダ");
    EXPECT_TRUE(view.header().counts()->isVisibleTo(&view));
    EXPECT_EQ(view.scanAction()->text(), "再スキャン");
}

TEST_F(CategoryDetailTest, DangerCategoryCannotBeEmptiedButItsItemsCanBeDeleted) {
    makeFile("d/keep.txt", 5'000);
    launch(std::vector{folderCategory("d", {path("d")}, Risk::danger)}, false);
    CategoryDetailView& view = open("d");
    ASSERT_EQ(model().state("d").status, Status::done);
    ASSERT_GT(model().state("d").bytes, 0);
    QToolButton* menu = view.header().emptyMenuButton();
    EXPECT_FALSE(menu->isEnabled());
    EXPECT_EQ(menu->toolTip(),
              "このカテゴリはまとめて削除できません。個別に選択して削除してください。");

    EntryListView& list = view.list();
    ASSERT_EQ(list.entries().rowCount(), 1);
    EXPECT_FALSE(view.footer().trashButton()->isEnabled());
    EXPECT_FALSE(view.footer().deleteButton()->isEnabled());
    click(list, list.entries().index(0));
    EXPECT_EQ(model().entrySelection(), std::set{path("d/keep.txt")});
    EXPECT_TRUE(view.footer().trashButton()->isEnabled());
    view.footer().deleteButton()->click();
    ASSERT_TRUE(model().pendingAction().has_value());
}

TEST_F(CategoryDetailTest, ContextMenuActsOnTheRowAloneUnlessItIsSelected) {
    for (const char* name : {"a", "b", "c"}) makeFile(std::string("s/") + name, 4'000);
    launch(std::vector{folderCategory("s", {path("s")})}, false);
    EntryListView& list = open("s").list();
    ASSERT_EQ(list.entries().rowCount(), 3);
    click(list, rowFor(list, path("s/a")));
    click(list, rowFor(list, path("s/b")), Qt::ControlModifier);
    const std::set<std::string> chosen{path("s/a"), path("s/b")};
    ASSERT_EQ(model().entrySelection(), chosen);

    // A right press on an unselected row leaves the selection alone.
    const QModelIndex c = rowFor(list, path("s/c"));
    QTest::mousePress(list.viewport(), Qt::RightButton, {}, list.visualRect(c).center());
    QTest::mouseRelease(list.viewport(), Qt::RightButton, {}, list.visualRect(c).center());
    EXPECT_EQ(model().entrySelection(), chosen);
    EXPECT_EQ(viewSelection(list), chosen);

    const auto run = [&](const QModelIndex& row, const QString& item) {
        std::unique_ptr<QMenu> menu(list.contextMenu(row, nullptr));
        for (QAction* action : menu->actions()) {
            if (action->text() == item) action->trigger();
        }
    };
    run(c, "Finderで表示");
    ASSERT_EQ(services->revealed.size(), 1u);
    EXPECT_EQ(services->revealed.back(), std::vector{path("s/c")});
    run(rowFor(list, path("s/b")), "Finderで表示");
    EXPECT_EQ(sorted(services->revealed.back()), sorted({path("s/a"), path("s/b")}));

    // Files have no "開く"; the delete items come last, after a divider.
    std::unique_ptr<QMenu> menu(list.contextMenu(c, nullptr));
    QStringList texts;
    for (QAction* action : menu->actions()) texts << (action->isSeparator() ? "-" : action->text());
    EXPECT_EQ(texts, (QStringList{"Finderで表示", "-", "ゴミ箱へ入れる", "完全に削除…"}));
    run(c, "完全に削除…");
    ASSERT_TRUE(model().pendingAction().has_value());
    EXPECT_EQ(model().entrySelection(), chosen);
}

TEST_F(CategoryDetailTest, UnreadableAndEmptyFoldersShowTheirPanels) {
    makeFile("u/sub/x", 100);
    std::filesystem::create_directories(path("u/empty"));
    launch(std::vector{folderCategory("u", {path("u")})}, false);
    CategoryDetailView& view = open("u");
    EntryListView& list = view.list();
    EXPECT_FALSE(list.emptyState().isVisibleTo(&view));

    // A folder that vanished reads like one we may not read (root may read anything).
    model().setBrowserPath(path("u/gone"));
    model().loadEntries();
    settle();
    ASSERT_TRUE(model().entriesError().has_value());
    EXPECT_TRUE(list.emptyState().isVisibleTo(&view));
    EXPECT_EQ(list.emptyState().title(), QString::fromStdString(*model().entriesError()));
    EXPECT_EQ(list.emptyState().description(),
              "フルディスクアクセスを許可するか、管理者権限が必要なフォルダです。");
    EXPECT_EQ(view.footer().countLabel()->text(), "0 項目");
    // The way back still works.
    EXPECT_TRUE(view.breadcrumbs().backButton()->isEnabled());

    model().setBrowserPath(path("u/empty"));
    model().loadEntries();
    settle();
    EXPECT_TRUE(list.emptyState().isVisibleTo(&view));
    EXPECT_EQ(list.emptyState().title(), "空です");
    EXPECT_EQ(list.emptyState().description(), "このフォルダにはファイルがありません。");
}

TEST_F(CategoryDetailTest, BackButtonFollowsCanGoUpAndCrumbsStayUsable) {
    makeFile("r1/deep/er/f", 100);
    makeFile("r2/g", 100);
    launch(std::vector{folderCategory("one", {path("r1")}),
                       folderCategory("two", {path("r1"), path("r2")})},
           false);
    CategoryDetailView* view = &open("one");
    ASSERT_EQ(model().browserPath(), path("r1"));
    QToolButton* back = view->breadcrumbs().backButton();
    EXPECT_FALSE(model().canGoUp());
    EXPECT_FALSE(back->isEnabled());

    EntryListView& list = view->list();
    QTest::mouseDClick(list.viewport(), Qt::LeftButton, {},
                       list.visualRect(rowFor(list, path("r1/deep"))).center());
    settle();
    EXPECT_EQ(model().browserPath(), path("r1/deep"));
    EXPECT_TRUE(back->isEnabled());
    // The chevron opens too.
    const QModelIndex er = rowFor(list, path("r1/deep/er"));
    QTest::mouseClick(list.viewport(), Qt::LeftButton, {},
                      EntryRowDelegate::geometry(list.visualRect(er)).chevron.center());
    settle();
    EXPECT_EQ(model().browserPath(), path("r1/deep/er"));
    QStringList labels;
    for (QToolButton* crumb : view->breadcrumbs().crumbButtons()) labels << crumb->text();
    EXPECT_EQ(labels, (QStringList{"~/r1", "deep", "er"}));

    back->click();
    settle();
    back->click();
    settle();
    EXPECT_EQ(model().browserPath(), path("r1"));
    EXPECT_FALSE(back->isEnabled());
    // A crumb still opens its folder while going up is not possible.
    view->breadcrumbs().crumbButtons().front()->click();
    settle();
    EXPECT_EQ(model().browserPath(), path("r1"));

    view = &open("two");
    ASSERT_FALSE(model().browserPath().has_value());
    EXPECT_FALSE(view->breadcrumbs().backButton()->isEnabled());
    ASSERT_EQ(view->list().entries().rowCount(), 2);
    QTest::mouseDClick(view->list().viewport(), Qt::LeftButton, {},
                       view->list().visualRect(rowFor(view->list(), path("r2"))).center());
    settle();
    EXPECT_EQ(model().browserPath(), path("r2"));
    EXPECT_TRUE(view->breadcrumbs().backButton()->isEnabled());
    ASSERT_EQ(view->breadcrumbs().crumbButtons().size(), 2);
    EXPECT_EQ(view->breadcrumbs().crumbButtons().front()->text(), "すべての場所");
    view->breadcrumbs().crumbButtons().front()->click();
    settle();
    EXPECT_FALSE(model().browserPath().has_value());
}

TEST_F(CategoryDetailTest, EnteringAFolderClearsTheSelection) {
    makeFile("e/sub/x", 3'000);
    makeFile("e/file", 1'000);
    launch(std::vector{folderCategory("e", {path("e")})}, false);
    CategoryDetailView& view = open("e");
    EntryListView& list = view.list();
    list.selectAll();
    ASSERT_EQ(model().entrySelection().size(), 2u);
    EXPECT_EQ(view.footer().selectionLabel()->text(),
              "選択: 2 項目 / " + QString::fromStdString(Fmt::bytes(model().selectedBytes())));
    std::unique_ptr<QMenu> menu(list.contextMenu(rowFor(list, path("e/sub")), nullptr));
    ASSERT_EQ(menu->actions().front()->text(), "開く");
    menu->actions().front()->trigger();
    EXPECT_TRUE(model().entrySelection().empty());
    settle();
    EXPECT_EQ(model().browserPath(), path("e/sub"));
    EXPECT_TRUE(viewSelection(list).empty());
    EXPECT_FALSE(view.footer().selectionLabel()->isVisibleTo(&view));
    EXPECT_FALSE(view.footer().trashButton()->isEnabled());
}

TEST_F(CategoryDetailTest, RowsKeepTheirPathBytesAsIdentity) {
    const std::string latin1 = "caf\xe9.txt";  // not UTF-8
    makeFile("n/" + latin1, 2'000);
    makeFile("n/日本語.txt", 1'000);
    launch(std::vector{folderCategory("n", {path("n")})}, false);
    CategoryDetailView& view = open("n");
    EntryListView& list = view.list();
    const QModelIndex odd = rowFor(list, path("n/" + latin1));
    ASSERT_TRUE(odd.isValid());
    EXPECT_EQ(odd.data().toString(), "caf\\xE9.txt");
    EXPECT_EQ(rowFor(list, path("n/日本語.txt")).data().toString(), "日本語.txt");
    const Entry& entry = model().entries()[static_cast<std::size_t>(odd.row())];
    EXPECT_EQ(odd.data(Qt::AccessibleTextRole).toString(),
              "caf\\xE9.txt, " + QString::fromStdString(Fmt::date(entry.modified)) + ", " +
                  QString::fromStdString(Fmt::bytes(*entry.size)));

    click(list, odd);
    EXPECT_EQ(model().entrySelection(), std::set{path("n/" + latin1)});
    view.revealAction()->trigger();
    EXPECT_EQ(services->revealed.back(), std::vector{path("n/" + latin1)});

    // And the other way: the model's selection shows in the view.
    model().setEntrySelection({path("n/日本語.txt")});
    EXPECT_EQ(viewSelection(list), std::set{path("n/日本語.txt")});
}

TEST_F(CategoryDetailTest, SizesUpdateRowsInPlaceAndTheReSortKeepsTheSelection) {
    makeFile("m/file", 30'000);
    launch(std::vector{folderCategory("m", {path("m")})}, false);
    CategoryDetailView& view = open("m");
    EntryListView& list = view.list();
    // Folders the scan never saw: their sizes arrive one by one after listing.
    makeFile("m/big/x", 200'000);
    makeFile("m/small/y", 1'000);
    makeFile("m/mid/z", 50'000);
    model().setEntrySelection({path("m/file")});

    EntryListModel& rows = list.entries();
    QSignalSpy resets(&rows, &QAbstractItemModel::modelReset);
    QSignalSpy layouts(&rows, &QAbstractItemModel::layoutChanged);
    QSignalSpy changes(&rows, &QAbstractItemModel::dataChanged);
    model().loadEntries();
    settle();
    EXPECT_EQ(resets.size(), 1);   // the listing itself
    EXPECT_EQ(changes.size(), 3);  // one per measured folder
    EXPECT_EQ(layouts.size(), 1);  // the final re-sort
    for (const QList<QVariant>& change : changes) {
        if (change.at(0).toModelIndex().row() != 0) {  // row 0 also rescales every bar
            EXPECT_EQ(change.at(0).toModelIndex(), change.at(1).toModelIndex());
        }
    }
    ASSERT_EQ(rows.rowCount(), 4);
    EXPECT_EQ(EntryListModel::pathOf(rows.index(0)), path("m/big"));
    EXPECT_EQ(rows.maxSize(), *model().entries().front().size);
    // The selected file moved down a row and is still the one selected.
    EXPECT_EQ(viewSelection(list), std::set{path("m/file")});
    EXPECT_EQ(model().entrySelection(), std::set{path("m/file")});
}

}  // namespace
}  // namespace kelvane::test
