#include <QAccessible>
#include <QItemSelectionModel>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QPushButton>
#include <QSignalSpy>
#include <QToolBar>
#include <QToolButton>

#include <fstream>

#include "core/linux_catalog.h"
#include "ui/browser/breadcrumb_bar.h"
#include "ui/browser/browser_footer.h"
#include "ui/browser/browser_layout_switch.h"
#include "ui/browser/browser_navigation.h"
#include "ui/browser/category_detail_view.h"
#include "ui/browser/category_header.h"
#include "ui/browser/entry_list_model.h"
#include "ui/browser/entry_list_view.h"
#include "ui/browser/entry_row_delegate.h"
#include "ui/browser/folder_map_view.h"
#include "ui/components/empty_state_panel.h"
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
    // Opens category `id`. A first visit shows the top level; a measured
    // one-root category opens inside its root, where most tests want to be.
    CategoryDetailView& view(const std::string& id) {
        open<CategoryDetailView>(id);
        if (model().state(id).roots.size() == 1 && !model().browserPath()) {
            model().setSelectedID(std::nullopt);
            open<CategoryDetailView>(id);
        }
        return *screen<CategoryDetailView>();
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

    static void click(EntryListView& list, const std::string& path,
                      Qt::KeyboardModifiers modifiers = {}) {
        QTest::mouseClick(
            list.viewport(), Qt::LeftButton, modifiers,
            list.visualRect(rowFor(list, path)).adjusted(40, 0, 0, 0).topLeft() + QPoint(0, 8));
    }

    // Presses `key` in the list, as the user would with the list focused.
    void press(EntryListView& list, Qt::Key key, Qt::KeyboardModifiers modifiers = {}) {
        QApplication::setActiveWindow(&app->window());
        list.setFocus();
        QTest::keyClick(&list, key, modifiers);
        settle();
    }

    QMessageBox* dialog() { return app->window().content()->openDialog(); }
};

TEST_F(CategoryDetailTest, StopKeepsThePartialResultAndLateSizesUpdateRowsInPlace) {
    makeFile("c/file", 30'000);
    launch(std::vector{folderCategory("c", {path("c")})}, false);
    CategoryDetailView& v = view("c");
    ASSERT_EQ(model().state("c").status, Status::done);
    const QList<QAction*> toolbar = app->window().toolbar()->actions();

    // Every slot taken: the rescan stays queued in `scanning` until let go.
    std::vector<ScanLimiter::Slot> held;
    for (int i = 0; i < model().limiter().limit(); ++i) held.push_back(model().limiter().acquire());
    v.scanAction()->trigger();
    ASSERT_EQ(model().state("c").status, Status::scanning);
    EXPECT_EQ(v.scanAction()->text(), "停止");
    // No tooltip of its own (Qt falls back to the label), certainly not the rescan one.
    EXPECT_EQ(v.scanAction()->toolTip(), "停止");
    EXPECT_FALSE(v.header().counts()->isVisibleTo(&v));
    EXPECT_FALSE(v.header().emptyMenuButton()->isEnabled());
    // The toolbar keeps the same button; only its face changed.
    EXPECT_EQ(app->window().toolbar()->actions(), toolbar);

    v.scanAction()->trigger();
    held.clear();
    settle();
    // Stopped before walking anything: what the store already knew stands.
    const CategoryState partial = model().state("c");
    ASSERT_EQ(partial.status, Status::done);
    EXPECT_EQ(v.header().figure()->text(), bytes(partial.bytes));
    EXPECT_EQ(v.header().counts()->text(), "0 ファイル / 0 フォルダ");
    EXPECT_EQ(v.scanAction()->text(), "再スキャン");

    // Folders the scan never saw: their sizes arrive one by one after listing.
    makeFile("c/big/x", 200'000);
    makeFile("c/small/y", 1'000);
    makeFile("c/mid/z", 50'000);
    model().setEntrySelection({path("c/file")});
    EntryListModel& rows = v.list().entries();
    QSignalSpy resets(&rows, &QAbstractItemModel::modelReset);
    QSignalSpy layouts(&rows, &QAbstractItemModel::layoutChanged);
    QSignalSpy changes(&rows, &QAbstractItemModel::dataChanged);
    model().loadEntries();
    settle();
    EXPECT_EQ(resets.size(), 1);   // the listing itself
    EXPECT_EQ(changes.size(), 3);  // one per measured folder
    EXPECT_EQ(layouts.size(), 1);  // the final re-sort
    ASSERT_EQ(rows.rowCount(), 4);
    EXPECT_EQ(EntryListModel::pathOf(rows.index(0)), path("c/big"));
    // The selected file moved down a row and is still the one selected.
    EXPECT_EQ(viewSelection(v.list()), std::set{path("c/file")});
    EXPECT_EQ(model().entrySelection(), std::set{path("c/file")});
}

// One folder of a risky category: files a, b, c (by size b, c, a), a name
// that is not UTF-8 and a subfolder.
TEST_F(CategoryDetailTest, ActingOnItemsByMouseMenuAndKeys) {
    const std::string latin1 = "caf\xe9.txt";
    makeFile("s/a", 1'000);
    makeFile("s/b", 300'000);
    makeFile("s/c", 50'000);
    makeFile("s/" + latin1, 20'000);
    makeFile("s/sub/x", 1'000);
    launch(std::vector{folderCategory("s", {path("s")}, Risk::danger)}, false);
    CategoryDetailView& v = view("s");
    EntryListView& list = v.list();
    // A risky category is never emptied as a whole; its items can go one by one.
    EXPECT_FALSE(v.header().emptyMenuButton()->isEnabled());

    // Rows keep the path bytes as identity and show what they cannot decode.
    EXPECT_EQ(rowFor(list, path("s/" + latin1)).data().toString(), "caf\\xE9.txt");
    click(list, path("s/" + latin1));
    v.revealAction()->trigger();
    EXPECT_EQ(services->revealed.back(), std::vector{path("s/" + latin1)});

    click(list, path("s/a"));
    click(list, path("s/b"), Qt::ControlModifier);
    click(list, path("s/c"), Qt::ControlModifier);
    const std::set<std::string> chosen{path("s/a"), path("s/b"), path("s/c")};
    ASSERT_EQ(model().entrySelection(), chosen);
    // A right press on an unselected row leaves the selection alone, and its
    // menu acts on that row alone; on a selected row, on the whole selection
    // in list order. Files have no "開く"; deleting comes last.
    QTest::mouseClick(list.viewport(), Qt::RightButton, {},
                      list.visualRect(rowFor(list, path("s/sub"))).center());
    EXPECT_EQ(viewSelection(list), chosen);
    const auto menu = [&](const std::string& row, const QString& item) {
        std::unique_ptr<QMenu> shown(list.contextMenu(rowFor(list, row), nullptr));
        for (QAction* action : shown->actions()) {
            if (action->text() == item) action->trigger();
        }
        return actionTexts(shown->actions());
    };
    EXPECT_EQ(menu(path("s/a"), "ファイルマネージャで表示"),
              (QStringList{"ファイルマネージャで表示", "-", "ゴミ箱へ入れる", "完全に削除…"}));
    EXPECT_EQ(services->revealed.back(), (std::vector{path("s/b"), path("s/c"), path("s/a")}));
    menu(path("s/sub"), "ファイルマネージャで表示");
    EXPECT_EQ(services->revealed.back(), std::vector{path("s/sub")});

    // Delete asks to trash, Shift+Delete to delete for good, naming the items
    // in list order; neither Return nor Escape confirms.
    const std::vector<std::tuple<Qt::KeyboardModifiers, QString, Qt::Key>> keys{
        {Qt::NoModifier, "3 項目をゴミ箱に入れますか？", Qt::Key_Return},
        {Qt::ShiftModifier, "3 項目を完全に削除しますか？", Qt::Key_Escape}};
    for (const auto& [modifiers, title, answer] : keys) {
        press(list, Qt::Key_Delete, modifiers);
        ASSERT_TRUE(waitFor([&] { return dialog() != nullptr; }));
        EXPECT_EQ(dialog()->text(), title);
        EXPECT_TRUE(dialog()->informativeText().contains("\nb\nc\na"));
        QWidget* focused = dialog()->focusWidget();
        QTest::keyClick(focused != nullptr ? focused : dialog(), answer);
        ASSERT_TRUE(waitFor([&] { return dialog() == nullptr; }));
    }
    settle();
    EXPECT_TRUE(std::filesystem::exists(path("s/b")));
    // The footer's button names them in the same order.
    v.footer().deleteButton()->click();
    EXPECT_NE(model().pendingAction()->message.find("\nb\nc\na"), std::string::npos);
    model().setPendingAction(std::nullopt);

    // Opening a folder clears the selection before the new listing.
    EXPECT_EQ(menu(path("s/sub"), "開く").front(), "開く");
    EXPECT_TRUE(model().entrySelection().empty());
    settle();
    EXPECT_EQ(model().browserPath(), path("s/sub"));
    EXPECT_TRUE(viewSelection(list).empty());
    EXPECT_FALSE(v.footer().selectionLabel()->isVisibleTo(&v));
}

// Over a Linux-shaped home and system root: a service's log folder, the
// container store, Flatpak and Snap break when emptied wholesale, so their
// rows offer deletion item by item only; measured rows of lower risk can be
// emptied.
TEST_F(CategoryDetailTest, LinuxDangerRowsAreNeverEmptiedWhole) {
    for (const char* file :
         {"sys/var/tmp/t", "sys/var/log/syslog.1", "sys/var/log/journal/j", "sys/var/crash/c",
          "sys/var/lib/snapd/snaps/core_1.snap", ".local/share/containers/storage/l",
          ".local/share/flatpak/app/a", ".cache/thumbnails/normal/t.png", "sys/tmp/.X0-lock",
          "sys/var/cache/debconf/config.dat"}) {
        makeFile(file, 10'000);
    }
    // The system places of the built-in rows too: /tmp, /var/log, /var/cache.
    auto rows = CatalogOnLinux::adapt(Catalog::build(home, path("t")),
                                      {home, path("sys"), path("sys/tmp"), path(".local/share")});
    for (CleanCategory& row : LinuxCatalog::build(home, path("sys"))) rows.push_back(row);
    launch(rows);
    settle();
    int danger = 0;
    for (const CleanCategory& row : rows) {
        if (model().state(row.id).status != Status::done) continue;
        danger += row.risk == Risk::danger;
        EXPECT_EQ(view(row.id).header().emptyMenuButton()->isEnabled(), row.risk != Risk::danger)
            << row.id;
    }
    EXPECT_EQ(danger, 7);
}

TEST_F(CategoryDetailTest, BrowsingByMouseAndKeysPanelsAndPlaces) {
    makeFile("r1/deep/er/f", 100);
    std::filesystem::create_directories(path("r1/empty"));
    makeFile("a/Caches/g", 100);
    makeFile("b/Caches/h", 100);
    launch(std::vector{folderCategory("one", {path("r1")}),
                       folderCategory("two", {path("a/Caches"), path("b/Caches")}),
                       folderCategory("gone", {path("x/*/Caches"), "/nowhere-kelvane"})},
           false);
    CategoryDetailView* v = &view("one");
    ASSERT_EQ(model().browserPath(), path("r1"));
    QToolButton* back = v->breadcrumbs().backButton();
    EXPECT_FALSE(back->isEnabled());
    EntryListView* list = &v->list();
    const auto doubleClick = [&](const std::string& folder) {
        QTest::mouseDClick(list->viewport(), Qt::LeftButton, {},
                           list->visualRect(rowFor(*list, folder)).center());
        settle();
    };
    doubleClick(path("r1/deep"));
    EXPECT_EQ(model().browserPath(), path("r1/deep"));
    EXPECT_TRUE(back->isEnabled());
    // The chevron opens too.
    QTest::mouseClick(
        list->viewport(), Qt::LeftButton, {},
        EntryRowDelegate::geometry(list->visualRect(rowFor(*list, path("r1/deep/er"))))
            .chevron.center());
    settle();
    EXPECT_EQ(model().browserPath(), path("r1/deep/er"));
    // Backspace and Alt+Up go up, Return opens the one selected folder.
    press(*list, Qt::Key_Backspace);
    EXPECT_EQ(model().browserPath(), path("r1/deep"));
    model().setEntrySelection({path("r1/deep/er")});
    press(*list, Qt::Key_Return);
    EXPECT_EQ(model().browserPath(), path("r1/deep/er"));
    press(*list, Qt::Key_Up, Qt::AltModifier);
    EXPECT_EQ(model().browserPath(), path("r1/deep"));
    back->click();
    settle();
    EXPECT_FALSE(back->isEnabled());
    // A crumb still opens its folder while going up is not possible.
    v->breadcrumbs().crumbButtons().front()->click();
    settle();
    EXPECT_EQ(model().browserPath(), path("r1"));

    // Panels: a folder that vanished reads like one we may not read (root may
    // read anything), with the way back open; an empty one says so.
    EmptyStatePanel& panel = list->emptyState();
    EXPECT_FALSE(panel.isVisibleTo(v));
    BrowserNavigation::open(model(), path("r1/vanished"));
    settle();
    ASSERT_TRUE(model().entriesError().has_value());
    EXPECT_TRUE(panel.isVisibleTo(v));
    EXPECT_EQ(panel.title(), QString::fromStdString(*model().entriesError()));
    EXPECT_TRUE(back->isEnabled());
    BrowserNavigation::open(model(), path("r1/empty"));
    settle();
    EXPECT_EQ(panel.title(), "空です");
    EXPECT_FALSE(v->header().searched()->isVisibleTo(v));

    // Two roots of one name: each row also says where it lives; inside a root
    // the crumbs say it.
    v = &view("two");
    list = &v->list();
    ASSERT_FALSE(model().browserPath().has_value());
    for (const char* place : {"a/Caches", "b/Caches"}) {
        const QModelIndex row = rowFor(*list, path(place));
        EXPECT_EQ(row.data().toString(), "Caches");
        EXPECT_EQ(row.data(EntryListModel::LocationRole).toString(), QString("~/") + place);
        EXPECT_EQ(row.data(Qt::ToolTipRole).toString(), QString("~/") + place);
    }
    doubleClick(path("b/Caches"));
    EXPECT_TRUE(list->entries().index(0).data(EntryListModel::LocationRole).toString().isEmpty());

    // A category found nowhere says where it looked, one place a line.
    v = &view("gone");
    ASSERT_EQ(model().state("gone").status, Status::missing);
    EXPECT_EQ(v->header().roots()->text(), "該当するフォルダはこのコンピュータには存在しません。");
    EXPECT_TRUE(v->header().searched()->isVisibleTo(v));
    EXPECT_EQ(v->header().searched()->text(), "~/x/*/Caches\n/nowhere-kelvane");
}

// The map over the same state as the list: selection both ways, Ctrl
// clicks, nested tiles acting for their item, keys, double click, the menu
// through the usual confirmation, what a screen reader reads, and the choice
// kept for the next category.
TEST_F(CategoryDetailTest, TheMapSharesSelectionMenuAndNavigationWithTheList) {
    makeFile("m/big/x/f", 400'000);
    makeFile("m/big/y/f", 100'000);
    makeFile("m/file.bin", 200'000);
    makeFile("other/f", 1'000);
    makeFile("x/other/f", 2'000);
    launch(std::vector{folderCategory("m", {path("m")}),
                       folderCategory("o", {path("other"), path("x/other")})});
    settle();
    CategoryDetailView& v = view("m");
    EXPECT_TRUE(v.list().isVisible());
    v.layoutSwitch().mapButton()->click();
    FolderMapView& map = v.map();
    ASSERT_TRUE(map.isVisible() && !v.list().isVisible());
    const auto tile = [&](const std::string& p) -> std::size_t {
        for (std::size_t i = 0; i < map.tiles().size(); ++i)
            if (map.tiles()[i].path == p) return i;
        ADD_FAILURE() << "no tile " << p;
        return 0;
    };
    const auto centre = [&](const std::string& p) {
        const PixelRect& r = map.tiles()[tile(p)].rect;
        return QPoint(r.x + r.width / 2, r.y + r.height / 2);
    };
    QTest::mouseClick(&map, Qt::LeftButton, {}, centre(path("m/file.bin")));
    EXPECT_EQ(model().entrySelection(), std::set{path("m/file.bin")});
    EXPECT_EQ(viewSelection(v.list()), std::set{path("m/file.bin")});
    // A nested tile stands for the item it lies in.
    QTest::mouseClick(&map, Qt::LeftButton, Qt::ControlModifier, centre(path("m/big/x")));
    EXPECT_EQ(model().entrySelection(), (std::set{path("m/big"), path("m/file.bin")}));
    EXPECT_TRUE(map.tileSelected(tile(path("m/big/y"))));
    v.list().selectionModel()->clearSelection();
    EXPECT_FALSE(map.tileSelected(tile(path("m/big"))));

    // What a screen reader finds: every tile by name and size.
    QAccessibleInterface* reader = QAccessible::queryAccessibleInterface(&map);
    ASSERT_EQ(reader->childCount(), static_cast<int>(map.tiles().size()));
    const int big = static_cast<int>(tile(path("m/big")));
    EXPECT_EQ(reader->child(big)->text(QAccessible::Name),
              "big " + bytes(*model().store().size(path("m/big"))));

    // Keys: focus starts on the biggest item; Space selects it, Right moves on, Return opens.
    QApplication::setActiveWindow(&app->window());
    map.setFocus();
    EXPECT_EQ(map.currentTile(), std::optional<std::size_t>(tile(path("m/big"))));
    EXPECT_TRUE(reader->child(big)->state().focused);
    QTest::keyClick(&map, Qt::Key_Space);
    EXPECT_EQ(model().entrySelection(), std::set{path("m/big")});
    QTest::keyClick(&map, Qt::Key_Right);
    EXPECT_EQ(map.currentTile(), std::optional<std::size_t>(tile(path("m/file.bin"))));
    QTest::keyClick(&map, Qt::Key_Left);
    QTest::keyClick(&map, Qt::Key_Return);
    settle();
    EXPECT_EQ(model().browserPath(), path("m/big"));
    model().goUp();
    settle();
    // A double click on a nested folder opens that folder.
    QTest::mouseDClick(&map, Qt::LeftButton, {}, centre(path("m/big/x")));
    settle();
    EXPECT_EQ(model().browserPath(), path("m/big/x"));
    model().goUp();
    model().goUp();
    settle();

    // The list's menu, and its deletion asks first.
    const QPoint at = centre(path("m/file.bin"));
    QContextMenuEvent press(QContextMenuEvent::Mouse, at, map.mapToGlobal(at));
    QApplication::sendEvent(&map, &press);
    auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
    ASSERT_NE(menu, nullptr);
    EXPECT_EQ(actionTexts(menu->actions()),
              (QStringList{"ファイルマネージャで表示", "-", "ゴミ箱へ入れる", "完全に削除…"}));
    menu->actions()[2]->trigger();
    menu->close();
    ASSERT_TRUE(waitFor([&] { return dialog() != nullptr; }));
    EXPECT_EQ(dialog()->text(), "1 項目をゴミ箱に入れますか？");
    EXPECT_TRUE(dialog()->informativeText().contains("file.bin"));
    for (QAbstractButton* button : dialog()->buttons()) {
        if (dialog()->buttonRole(button) != QMessageBox::RejectRole) button->click();
    }
    // Relisted once the deletion's work is back on the main thread.
    ASSERT_TRUE(waitFor([&] {
        return !model().busyMessage() && !model().entriesLoading() &&
               std::none_of(model().entries().begin(), model().entries().end(),
                            [&](const Entry& e) { return e.path == path("m/file.bin"); });
    }));
    EXPECT_FALSE(std::filesystem::exists(path("m/file.bin")));
    for (const MapTile& t : map.tiles()) EXPECT_NE(t.path, path("m/file.bin"));

    // The next category opens as a map too; its two roots named "other" are told apart.
    FolderMapView& roots = view("o").map();
    EXPECT_TRUE(roots.isVisible());
    QStringList names;
    for (std::size_t i = 0; i < roots.tiles().size(); ++i) names << roots.tileName(i);
    names.sort();
    EXPECT_EQ(names, (QStringList{"~/other", "~/x/other"}));
}

// A scan made elsewhere, opened from the menu: browsed in the list and the map from the export,
// with every way to delete or reveal its items disabled and the reason at hand.
TEST_F(CategoryDetailTest, AnOpenedScanBrowsesInListAndMapAndCannotDelete) {
    makeFile("m/f", 1'000);
    const std::string file = path("server.json");
    std::ofstream(file) << R"([1,2,{"progname":"ncdu","timestamp":1763900000},
[{"name":"/srv/data","dsize":4096},
 [{"name":"logs","dsize":4096},
  [{"name":"2025","dsize":4096},{"name":"a.log","asize":900000,"dsize":901120}],
  {"name":"b.log","asize":300000,"dsize":303104}],
 {"name":"db.img","asize":2000000,"dsize":2002944}]])";
    launch(std::vector{folderCategory("m", {path("m")})});
    settle();
    MainWindow& window = app->window();
    QAction* exportScan = nullptr;
    QAction* openScan = nullptr;
    for (QAction* action : window.menuBar()->actions().front()->menu()->actions()) {
        if (action->text() == "スキャン結果を書き出す…") exportScan = action;
        if (action->text() == "スキャン結果を開く…") openScan = action;
    }
    ASSERT_TRUE(exportScan && openScan);
    view("m");
    EXPECT_TRUE(exportScan->isEnabled());

    services->scanToChoose = file;
    openScan->trigger();
    const std::string id = std::string(Catalog::kSavedScanPrefix) + file;
    ASSERT_TRUE(waitFor([&] { return model().selectedID() == id && !model().busyMessage(); }));
    settle();
    auto* v = screen<CategoryDetailView>();
    ASSERT_NE(v, nullptr);
    EXPECT_FALSE(exportScan->isEnabled());
    EXPECT_EQ(v->header().figure()->text(), bytes(4096 * 3 + 901120 + 303104 + 2002944));
    EXPECT_EQ(v->list().entries().rowCount(), 2);
    EXPECT_EQ(EntryListModel::pathOf(v->list().entries().index(0)), "/srv/data/db.img");

    v->layoutSwitch().mapButton()->click();
    FolderMapView& map = v->map();
    ASSERT_TRUE(map.isVisible());
    EXPECT_TRUE(std::any_of(map.tiles().begin(), map.tiles().end(), [](const MapTile& t) {
        return t.path == "/srv/data/logs/2025" && t.depth == 1;
    }));
    // The middle of a tile, or of its name strip.
    const auto centre = [&](const std::string& p, bool strip = false) {
        for (const MapTile& t : map.tiles())
            if (t.path == p)
                return QPoint(t.rect.x + t.rect.width / 2,
                              t.rect.y + (strip ? 4 : t.rect.height / 2));
        ADD_FAILURE() << "no tile " << p;
        return QPoint();
    };
    // Its name strip: the middle of "logs" is the tile of "2025" nested in it.
    QTest::mouseDClick(&map, Qt::LeftButton, {}, centre("/srv/data/logs", true));
    settle();
    EXPECT_EQ(model().browserPath(), "/srv/data/logs");
    QTest::mouseClick(&map, Qt::LeftButton, {}, centre("/srv/data/logs/b.log"));
    EXPECT_EQ(model().entrySelection(), std::set<std::string>{"/srv/data/logs/b.log"});

    // Deleting: the buttons, the header's menu and the item's menu are all disabled, saying why.
    const QString why = QString::fromStdString(*model().readOnlyReason(id));
    for (QAbstractButton* button : {static_cast<QAbstractButton*>(v->footer().trashButton()),
                                    static_cast<QAbstractButton*>(v->footer().deleteButton()),
                                    static_cast<QAbstractButton*>(v->header().emptyMenuButton())}) {
        EXPECT_FALSE(button->isEnabled()) << button->text().toStdString();
        EXPECT_EQ(button->toolTip(), why);
    }
    const QPoint at = centre("/srv/data/logs/b.log");
    QContextMenuEvent press(QContextMenuEvent::Mouse, at, map.mapToGlobal(at));
    QApplication::sendEvent(&map, &press);
    auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
    ASSERT_NE(menu, nullptr);
    for (QAction* action : menu->actions())
        EXPECT_TRUE(action->isSeparator() || !action->isEnabled()) << action->text().toStdString();
    menu->close();
    QApplication::setActiveWindow(&window);
    map.setFocus();
    QTest::keyClick(&map, Qt::Key_Delete);
    settle();
    EXPECT_FALSE(model().pendingAction());
    EXPECT_TRUE(std::filesystem::exists(path("m/f")));
}

}  // namespace
}  // namespace kelvane::test
