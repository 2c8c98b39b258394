#include "ui/app/main_window.h"

#include <QAction>
#include <QMenuBar>
#include <QToolBar>
#include <QToolButton>

#include "ui/app/content_view.h"
#include "ui/app/detail_router.h"
#include "ui/app/history_setting.h"
#include "ui/app/model_bridge.h"
#include "ui/app/screen.h"
#include "ui/components/symbol_icons.h"

namespace kelvane {

MainWindow::MainWindow(ModelBridge& bridge, QWidget* parent)
    : QMainWindow(parent), bridge_(bridge) {
    setMinimumSize(980, 640);
    resize(1180, 760);
    setUnifiedTitleAndToolBarOnMac(true);

    content_ = new ContentView(bridge_, this);
    setCentralWidget(content_);

    toolbar_ = addToolBar(QStringLiteral("ツールバー"));
    toolbar_->setObjectName(QStringLiteral("mainToolbar"));
    toolbar_->setMovable(false);
    toolbar_->setFloatable(false);
    toolbar_->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    toolbar_->toggleViewAction()->setEnabled(false);
    setContextMenuPolicy(Qt::NoContextMenu);

    auto* addFolder = toolbar_->addAction(SymbolIcons::icon("folder.badge.plus"),
                                          QStringLiteral("フォルダを追加"));
    addFolder->setToolTip(QStringLiteral("任意のフォルダのサイズを調べる"));
    connect(addFolder, &QAction::triggered, this, [this] { bridge_.model().addCustomFolder(); });

    auto* rescanAll = toolbar_->addAction(SymbolIcons::icon("arrow.clockwise"),
                                          QStringLiteral("すべて再スキャン"));
    rescanAll->setToolTip(QStringLiteral("すべて再スキャン (Ctrl+R)"));
    connect(rescanAll, &QAction::triggered, this, [this] { bridge_.model().scanAll(); });
    toolbar_->addSeparator();

    // The menu holds our own commands; there is deliberately no command that
    // opens a second window.
    auto* file = menuBar()->addMenu(QStringLiteral("ファイル"));
    auto* openScan = file->addAction(QStringLiteral("スキャン結果を開く…"));
    openScan->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_O));
    openScan->setShortcutContext(Qt::ApplicationShortcut);
    connect(openScan, &QAction::triggered, this, [this] { bridge_.model().chooseSavedScan(); });
    exportScan_ = file->addAction(QStringLiteral("スキャン結果を書き出す…"));
    connect(exportScan_, &QAction::triggered, this, [this] {
        if (const std::optional<CleanCategory> category = bridge_.model().selectedCategory())
            bridge_.model().exportCategory(*category);
    });
    file->addSeparator();
    auto* quit = file->addAction(QStringLiteral("終了"));
    quit->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Q));
    quit->setShortcutContext(Qt::ApplicationShortcut);
    // The one window closing ends the application.
    connect(quit, &QAction::triggered, this, &QWidget::close);
    auto* view = menuBar()->addMenu(QStringLiteral("表示"));
    auto* rescanMenu = view->addAction(QStringLiteral("すべて再スキャン"));
    rescanMenu->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_R));
    rescanMenu->setShortcutContext(Qt::ApplicationShortcut);
    connect(rescanMenu, &QAction::triggered, this, [this] { bridge_.model().scanAll(); });
    if (bridge_.model().historyAvailable()) {
        view->addSeparator();
        auto* record = view->addAction(QStringLiteral("履歴を記録する"));
        record->setCheckable(true);
        record->setChecked(bridge_.model().recordHistory());
        connect(record, &QAction::toggled, this, [this](bool on) {
            HistorySetting::setRecordHistory(on);
            bridge_.model().setRecordHistory(on);
        });
        connect(view->addAction(QStringLiteral("履歴を消去…")), &QAction::triggered, this,
                [this] { bridge_.model().confirmClearHistory(); });
    }

    // Only a measured category of this disk can be written out.
    connect(&bridge_, &ModelBridge::changed, this, [this](const ModelChange& change) {
        if (change.field == ModelField::selectedID || change.field == ModelField::states ||
            change.field == ModelField::categories)
            updateExportAction();
    });
    updateExportAction();
    connect(content_->router(), &DetailRouter::screenChanged, this, &MainWindow::showScreen);
    showScreen(content_->router()->current());
}

void MainWindow::updateExportAction() {
    const AppModel& model = bridge_.model();
    const std::optional<CleanCategory> category = model.selectedCategory();
    const bool possible = category && category->kind == CategoryKind::folders &&
                          !model.isSavedScan(category->id) &&
                          !model.state(category->id).roots.empty();
    exportScan_->setEnabled(possible);
    exportScan_->setToolTip(
        possible ? QString() : QStringLiteral("このディスクのカテゴリを選ぶと書き出せます"));
}

void MainWindow::showScreen(Screen* screen) {
    for (QAction* action : screenActions_) toolbar_->removeAction(action);
    screenActions_ = screen != nullptr ? screen->toolbarActions() : QList<QAction*>{};
    toolbar_->addActions(screenActions_);
    // The title says where the user is, as the task switcher shows it.
    const QString place = screen != nullptr ? screen->windowTitle() : QString();
    setWindowTitle(place.isEmpty() ? QStringLiteral("Kelvane")
                                   : place + QStringLiteral(" — Kelvane"));
}

void MainWindow::showEvent(QShowEvent* event) {
    QMainWindow::showEvent(event);
    if (shown_) return;
    shown_ = true;
    emit firstShown();
}

}  // namespace kelvane
