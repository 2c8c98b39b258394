#include <QContextMenuEvent>
#include <QCoreApplication>
#include <QDir>
#include <QFileDialog>
#include <QMenu>
#include <QMessageBox>
#include <QPushButton>
#include <QTimer>
#include <QToolBar>
#include <QTreeView>
#include <set>

#include "core/linux_catalog.h"
#include "model/shown_categories.h"
#include "support/scoped_env.h"
#include "ui/app/alert_box.h"
#include "ui/app/busy_overlay.h"
#include "ui/app/desktop_services.h"
#include "ui/app/single_instance.h"
#include "ui/browser/category_detail_view.h"
#include "ui/components/file_icon.h"
#include "ui/components/size_bar.h"
#include "ui/components/size_figure.h"
#include "ui/components/symbol_icons.h"
#include "ui/sidebar/sidebar_footer.h"
#include "ui/sidebar/sidebar_model.h"
#include "ui/sidebar/sidebar_view.h"
#include "ui_fixture.h"

namespace kelvane::test {
namespace {

using Status = CategoryState::Status;

class WindowTest : public UiTest {
  protected:
    SidebarView& sidebar() { return *app->window().content()->sidebar(); }
    QModelIndex rowOf(const std::string& id) {
        return sidebar().itemModel()->indexForSelection(id);
    }
    QString trailing(const std::string& id) {
        return rowOf(id).data(SidebarModel::TrailingTextRole).toString();
    }
    QString currentKey() { return app->window().content()->router()->currentKey(); }

    // Right-clicks the row of `id` as the window system does (press, context
    // menu, release) and returns the items of the menu that opened, choosing
    // `choice` in it when given.
    QStringList rightClick(const std::string& id, const QString& choice = {}) {
        QWidget* viewport = sidebar().list()->viewport();
        sidebar().list()->scrollTo(rowOf(id));
        const QPoint at = sidebar().list()->visualRect(rowOf(id)).center();
        QStringList items;
        QTimer::singleShot(0, [&] {
            auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
            if (menu == nullptr) return;
            items = actionTexts(menu->actions());
            for (QAction* action : menu->actions()) {
                if (action->text() == choice) action->trigger();
            }
            menu->close();
        });
        QTest::mousePress(viewport, Qt::RightButton, {}, at);
        QContextMenuEvent event(QContextMenuEvent::Mouse, at, viewport->mapToGlobal(at));
        QApplication::sendEvent(viewport, &event);
        QTest::mouseRelease(viewport, Qt::RightButton, {}, at);
        QApplication::processEvents();
        return items;
    }
};

TEST_F(WindowTest, RowsFollowTheScanAndARightClickOnlyOpensTheRowsMenu) {
    makeFile("Library/Caches/a/blob", 300'000);
    makeFile("caf\xE9/f", 10);
    services->folderToChoose = path("caf\xE9");
    launch(std::nullopt, false);
    EXPECT_EQ(trailing("user_caches"), QStringLiteral("—"));
    SidebarFooter* footer = sidebar().footer();
    EXPECT_EQ(footer->totalText(), bytes(0));

    // Every change of the category's state reaches its row as one dataChanged.
    QStringList seen;
    QObject::connect(sidebar().itemModel(), &QAbstractItemModel::dataChanged,
                     [&](const QModelIndex& from, const QModelIndex& to) {
                         EXPECT_EQ(from, to);
                         if (from == rowOf("user_caches")) seen << trailing("user_caches");
                     });
    model().startInitialScan();
    EXPECT_TRUE(trailing("user_caches").endsWith(QStringLiteral("…")));
    EXPECT_TRUE(footer->runningText().endsWith(QStringLiteral(" 件スキャン中")));
    model().addCustomFolder();
    settle();
    EXPECT_TRUE(!seen.isEmpty() && seen.front().endsWith(QStringLiteral("…")));
    const std::int64_t caches = model().state("user_caches").bytes;
    EXPECT_EQ(trailing("user_caches"), bytes(caches));
    EXPECT_EQ(rowOf("user_caches").data(Qt::AccessibleTextRole).toString(),
              QStringLiteral("ユーザーキャッシュ, ") + bytes(caches));
    EXPECT_EQ(trailing("mail"), QStringLiteral("なし"));
    EXPECT_TRUE(footer->runningText().isEmpty());
    std::int64_t quick = 0;
    for (const CleanCategory& c : model().categories()) {
        if (c.quickClean) quick += model().state(c.id).bytes;
    }
    EXPECT_EQ(footer->totalText(), bytes(quick));

    // An added folder named in bytes that are not UTF-8 reads as in the list
    // and, clicked, selects exactly that folder.
    const std::string custom = Catalog::kCustomPrefix + path("caf\xE9");
    EXPECT_TRUE(rowOf(custom).data().toString().endsWith(QStringLiteral("caf\\xE9")));
    model().setSelectedID(std::string("user_logs"));
    sidebar().list()->setCurrentIndex(rowOf(custom));
    EXPECT_EQ(model().selectedID(), custom);
    EXPECT_NE(open<CategoryDetailView>(custom), nullptr);

    // Right clicks open each row's menu, if it has one, and change nothing else.
    model().setSelectedID(std::string("user_logs"));
    EXPECT_EQ(rightClick("user_caches"), QStringList{"再スキャン"});
    EXPECT_TRUE(rightClick("snapshots").isEmpty());
    EXPECT_EQ(rightClick(custom, QStringLiteral("一覧から削除")),
              (QStringList{"再スキャン", "一覧から削除"}));
    EXPECT_FALSE(rowOf(custom).isValid());
    EXPECT_EQ(model().selectedID(), std::optional<std::string>("user_logs"));
    EXPECT_EQ(sidebar().list()->currentIndex(), rowOf("user_logs"));
    EXPECT_EQ(currentKey(), QStringLiteral("folders:user_logs"));
}

TEST_F(WindowTest, SectionsAndASelectionBoundBothWaysThatNamesTheWindow) {
    // A home without the other platform's folders lists none of its rows, so
    // the Xcode section is empty and shows no heading; the tool rows stand
    // under "システム".
    launch(ShownCategories::onThisMachine(
               CatalogOnLinux::adapt(Catalog::build(home, home + "/t"),
                                     {home, home + "/sys", home + "/tmp", home + "/.local/share"})),
           false);
    const SidebarModel& m = *sidebar().itemModel();
    QStringList top;
    for (int r = 0; r < m.rowCount(); ++r) top << m.index(r, 0).data().toString();
    EXPECT_EQ(top, (QStringList{"概要", "キャッシュ", "ログ", "開発ツール",
                                "アプリ / ユーザーデータ", "システム", "探索"}));
    const QModelIndex system = m.index(top.indexOf("システム"), 0);
    QStringList tools;
    for (int r = 0; r < m.rowCount(system); ++r)
        tools << m.index(r, 0, system).data(Qt::DisplayRole).toString();
    EXPECT_EQ(tools,
              (QStringList{"Flatpak / Snap ランタイム", "スナップショット (Snapper / Timeshift)"}));
    // Rows within a section keep the catalog's order; headings cannot be selected.
    EXPECT_EQ(m.index(1, 0, m.index(1, 0)).data().toString(),
              QStringLiteral("一時ファイル (~/tmp)"));
    EXPECT_FALSE(m.flags(m.index(1, 0)) & Qt::ItemIsSelectable);

    EXPECT_EQ(app->window().windowTitle(), QStringLiteral("概要 — Kelvane"));
    sidebar().list()->setCurrentIndex(rowOf("trash"));
    EXPECT_EQ(model().selectedID(), std::optional<std::string>("trash"));
    EXPECT_EQ(currentKey(), QStringLiteral("folders:trash"));
    EXPECT_EQ(app->window().windowTitle(), QStringLiteral("ゴミ箱 — Kelvane"));
    Screen* first = app->window().content()->router()->current();
    model().setSelectedID(std::string("trash"));  // the same category keeps its screen
    EXPECT_EQ(app->window().content()->router()->current(), first);
    model().setSelectedID(std::string("snapshots"));
    EXPECT_EQ(sidebar().list()->currentIndex(), rowOf("snapshots"));
    EXPECT_EQ(currentKey(), QStringLiteral("snapshots:snapshots"));
    EXPECT_EQ(app->window().windowTitle(),
              QStringLiteral("スナップショット (Snapper / Timeshift) — Kelvane"));
    model().setSelectedID(std::string("no-such-id"));
    EXPECT_EQ(currentKey(), QStringLiteral("overview"));
    EXPECT_EQ(app->window().windowTitle(), QStringLiteral("概要 — Kelvane"));
}

TEST_F(WindowTest, CommandsByKeyMenuToolbarAndConfirmation) {
    makeFile("Library/Logs/caf\xE9.log", 2'000'000);
    launch(std::nullopt, false);
    QTest::keyClick(&app->window(), Qt::Key_R, Qt::ControlModifier);
    EXPECT_EQ(model().state("user_logs").status, Status::scanning);
    settle();
    app->window().toolbar()->actions()[1]->trigger();  // "すべて再スキャン"
    EXPECT_EQ(model().state("user_logs").status, Status::scanning);
    settle();

    // The confirmation reads a name that is not UTF-8 as the list does (not
    // U+FFFD), never wraps a size away from its unit, and is wide enough.
    ContentView* content = app->window().content();
    const auto dialog = [&] { return content->openDialog(); };
    model().confirmDelete({path("Library/Logs/caf\xE9.log")}, true);
    ASSERT_TRUE(waitFor([&] { return dialog() != nullptr; }));
    const QString message = dialog()->informativeText();
    EXPECT_TRUE(message.contains(QStringLiteral("caf\\xE9.log"))) << message.toStdString();
    EXPECT_TRUE(message.contains(QStringLiteral("2\u00A0MB"))) << message.toStdString();
    EXPECT_GE(dialog()->width(), AlertBox::kMinimumWidth);
    // Confirmed, the deletion covers the window while it runs, then tells.
    findButton(dialog(), QStringLiteral("完全に削除"))->click();
    EXPECT_FALSE(model().pendingAction().has_value());
    auto* overlay = content->findChild<BusyOverlay*>();
    EXPECT_TRUE(overlay->isVisible());
    ASSERT_TRUE(waitFor([&] { return dialog() != nullptr; }));
    EXPECT_FALSE(overlay->isVisible());
    ASSERT_TRUE(model().notice().has_value());
    EXPECT_FALSE(std::filesystem::exists(path("Library/Logs/caf\xE9.log")));
    // Notices are marked by how they went, and read model bytes as the list does.
    const std::vector<std::pair<std::string, QMessageBox::Icon>> notices{
        {"2 項目を削除し、約 3 MB を解放しました。", QMessageBox::Information},
        {"1 項目を削除し、約 3 MB を解放しました。\n\n1 項目は削除できませんでした "
         "(使用中の可能性)。",
         QMessageBox::Warning},
        {"削除に失敗しました:\n・caf\xE9.dat: アクセス権がありません", QMessageBox::Critical},
        {"管理者権限で削除するには pkexec が必要です。", QMessageBox::Warning}};
    for (const auto& [notice, icon] : notices) {
        findButton(dialog(), QStringLiteral("OK"))->click();
        ASSERT_TRUE(waitFor([&] { return dialog() == nullptr; }));
        EXPECT_FALSE(model().notice().has_value());
        model().setNotice(notice);
        ASSERT_TRUE(waitFor([&] { return dialog() != nullptr; }));
        EXPECT_EQ(dialog()->icon(), icon) << notice;
        EXPECT_FALSE(dialog()->informativeText().contains(QChar::ReplacementCharacter)) << notice;
    }
    findButton(dialog(), QStringLiteral("OK"))->click();

    QApplication::setActiveWindow(&app->window());
    QTest::keyClick(&app->window(), Qt::Key_Q, Qt::ControlModifier);
    EXPECT_FALSE(app->window().isVisible());
}

// The folder chooser is Qt's own dialog: it must speak the interface's
// language and start at home, which here is not the working folder.
TEST_F(WindowTest, FolderChooserSpeaksJapaneseAndStartsAtHome) {
    const ScopedEnv env("HOME", home);
    QString folder, typeLabel;
    QTimer::singleShot(0, [&] {
        auto* dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
        if (dialog == nullptr) return;
        folder = dialog->directory().absolutePath();
        typeLabel = dialog->labelText(QFileDialog::FileType);
        dialog->reject();
    });
    DesktopServices desktop;
    EXPECT_EQ(desktop.chooseFolder(), std::nullopt);
    EXPECT_EQ(folder, QDir(QString::fromStdString(home)).absolutePath());
    EXPECT_EQ(typeLabel, QStringLiteral("ファイルの種類:"));
}

// A second start hands its folders, byte for byte, to the Kelvane already
// listening, which alone may listen; with none listening nothing is handed.
TEST(SingleInstanceTest, FoldersReachTheRunningKelvaneByteForByte) {
    const QString name = QStringLiteral("kelvane-test-%1").arg(QCoreApplication::applicationPid());
    const std::vector<std::string> folders{"/tmp/a b", std::string("/x/\xff\n'\"", 7), "/"};
    EXPECT_FALSE(SingleInstance::handOver(name, folders));
    std::vector<std::vector<std::string>> received;
    SingleInstance first(name, [&](const std::vector<std::string>& f) { received.push_back(f); });
    ASSERT_TRUE(first.listen());
    SingleInstance second(name, [](const std::vector<std::string>&) {});
    EXPECT_FALSE(second.listen());
    EXPECT_TRUE(SingleInstance::handOver(name, folders));
    EXPECT_TRUE(SingleInstance::handOver(name, {}));  // no folder: just show the window
    for (int i = 0; i < 200 && received.size() < 2; ++i) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    }
    EXPECT_EQ(received, (std::vector<std::vector<std::string>>{folders, {}}));
}

TEST(Components, SizeBarStubsClampsAndEmpties) {
    for (const auto& [fraction, width] : std::vector<std::pair<double, int>>{
             {0, 0}, {-0.5, 0}, {0.0001, 3}, {0.5, 45}, {1.7, 90}}) {
        EXPECT_EQ(SizeBar::fillWidth(fraction, 90), width) << fraction;
    }
    // Painted: the stub shows (a red fill is where the green channel drops).
    SizeBar bar(0.0001, Qt::red);
    bar.resize(90, 6);
    const QImage image = bar.grab().toImage();
    EXPECT_LT(qGreen(image.pixel(1, 3)), 150);
    EXPECT_GT(qGreen(image.pixel(40, 3)), 150);
}

TEST(Components, SizeFigureOnlyEverShowsTheValuesItWasGiven) {
    SizeFigure figure;
    figure.show();
    figure.setBytes(1'000);
    QTest::qWait(700);
    // A change on its own fades in, but already reads the new value.
    figure.setBytes(618'100'000);
    EXPECT_TRUE(figure.isFading());
    EXPECT_EQ(figure.text(), bytes(618'100'000));
    // A change during the fade ends it on the newest value.
    figure.setBytes(732'600'000);
    EXPECT_FALSE(figure.isFading());
    EXPECT_EQ(figure.text(), bytes(732'600'000));
    QTest::qWait(400);
    EXPECT_EQ(figure.text(), bytes(732'600'000));
    EXPECT_EQ(figure.accessibleName(), figure.text());
}

// Symbols and file icons come from the icon theme: each must resolve to an
// icon that still says what it means once it is drawn.
QImage imageOf(const QIcon& icon) {
    return icon.pixmap(FileIcon::kSize, FileIcon::kSize)
        .toImage()
        .convertToFormat(QImage::Format_ARGB32);
}

TEST(Icons, EveryCatalogSymbolHasItsOwnThemeIcon) {
    std::set<std::string> symbols;
    for (const CleanCategory& c : Catalog::build("/home/u", "/tmp")) symbols.insert(c.icon);
    for (const CleanCategory& c : LinuxCatalog::build("/home/u", "")) symbols.insert(c.icon);
    for (const std::string& symbol : symbols) {
        // The plain folder is what a symbol without a theme icon falls back to.
        const QIcon icon = SymbolIcons::icon(symbol);
        EXPECT_NE(icon.name(), QStringLiteral("folder")) << symbol;
        EXPECT_FALSE(icon.pixmap(16, 16).isNull()) << symbol;
    }
}

TEST(Icons, TheTintedWarningTriangleKeepsItsExclamationMark) {
    // Down the middle: the apex, the gap of the "!", ink again, the base.
    const QImage glyph =
        SymbolIcons::tinted("exclamationmark.triangle.fill", QColor(255, 149, 0), 20).toImage();
    int changes = 0;
    bool ink = false;
    for (int y = 0; y < glyph.height(); ++y) {
        const bool here = qAlpha(glyph.pixel(glyph.width() / 2, y)) >= 128;
        if (here != ink) ++changes;
        ink = here;
    }
    EXPECT_GE(changes, 4) << "the triangle is drawn without its mark";
}

TEST(Icons, FilesOfNoKnownTypeAndLinksGetAFileIconNotAQuestionMark) {
    const QImage questionMark =
        imageOf(QIcon::fromTheme(QStringLiteral("application-octet-stream")));
    for (const char* name :
         {"/h/.bashrc", "/h/blob.bin", "/h/pkg-1.0-py3-none-any.whl", "/h/a.o"}) {
        const QImage icon = imageOf(FileIcon::forPath(name, false, false, false));
        EXPECT_FALSE(icon.isNull()) << name;
        EXPECT_NE(icon, questionMark) << name;
    }
    // A link looks like what it is named as, with a mark of its own.
    const QImage archive = imageOf(FileIcon::forPath("/h/a.zip", false, false, false));
    const QImage link = imageOf(FileIcon::forPath("/h/a.zip", false, true, false));
    EXPECT_NE(link, archive);
    EXPECT_NE(imageOf(FileIcon::forPath("/h/dangling", false, true, false)), questionMark);
}

}  // namespace
}  // namespace kelvane::test
