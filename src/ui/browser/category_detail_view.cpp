#include "ui/browser/category_detail_view.h"

#include <QAction>
#include <QFrame>
#include <QHBoxLayout>
#include <QStackedWidget>
#include <QVBoxLayout>

#include "ui/app/model_bridge.h"
#include "ui/browser/breadcrumb_bar.h"
#include "ui/browser/browser_footer.h"
#include "ui/browser/browser_layout_switch.h"
#include "ui/browser/browser_navigation.h"
#include "ui/browser/browser_sort_switch.h"
#include "ui/browser/category_header.h"
#include "ui/browser/entry_list_view.h"
#include "ui/browser/folder_map_view.h"
#include "ui/components/display_text.h"
#include "ui/components/symbol_icons.h"

namespace kelvane {
namespace {

QFrame* divider(QWidget* parent) {
    auto* line = new QFrame(parent);
    line->setFrameShape(QFrame::HLine);
    line->setFrameShadow(QFrame::Plain);
    line->setFixedHeight(1);
    QPalette palette = line->palette();
    palette.setColor(QPalette::WindowText, palette.color(QPalette::Mid));
    line->setPalette(palette);
    return line;
}

}  // namespace

CategoryDetailView::CategoryDetailView(ModelBridge& bridge, CleanCategory category,
                                       BrowserLayout& layout, QWidget* parent)
    : Screen(bridge, parent), category_(std::move(category)), layout_(layout) {
    setWindowTitle(DisplayText::fromBytes(category_.name));
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    header_ = new CategoryHeader(bridge_, category_, this);
    breadcrumbs_ = new BreadcrumbBar(bridge_, this);
    switch_ = new BrowserLayoutSwitch(layout_, this);
    stack_ = new QStackedWidget(this);
    list_ = new EntryListView(bridge_, stack_);
    map_ = new FolderMapView(bridge_, stack_);
    stack_->addWidget(list_);
    stack_->addWidget(map_);
    footer_ = new BrowserFooter(bridge_, this);
    auto* pathRow = new QHBoxLayout;
    pathRow->setContentsMargins(0, 0, 0, 0);
    pathRow->setSpacing(0);
    pathRow->addWidget(breadcrumbs_, 1);
    // The order by change needs a history; an opened scan has none.
    sort_ = new BrowserSortSwitch(bridge_, this);
    sort_->setVisible(bridge_.model().historyAvailable() &&
                      !bridge_.model().isSavedScan(category_.id));
    pathRow->addWidget(sort_);
    pathRow->addWidget(switch_);
    column->addWidget(header_);
    column->addWidget(divider(this));
    column->addLayout(pathRow);
    column->addWidget(divider(this));
    column->addWidget(stack_, 1);
    column->addWidget(divider(this));
    column->addWidget(footer_);
    showLayout(layout_);
    connect(switch_, &BrowserLayoutSwitch::chosen, this, [this](BrowserLayout chosen) {
        layout_ = chosen;
        showLayout(chosen);
    });

    // One action that changes its face, so the window's toolbar keeps its
    // buttons while the scan starts and stops.
    scanAction_ = new QAction(this);
    connect(scanAction_, &QAction::triggered, this, [this] {
        AppModel& model = bridge_.model();
        if (model.state(category_.id).status == CategoryState::Status::scanning) {
            const auto& tasks = model.scanTasks();
            if (const auto it = tasks.find(category_.id); it != tasks.end()) it->second.cancel();
        } else {
            model.scan(category_);
        }
    });
    revealAction_ =
        new QAction(SymbolIcons::icon("folder"), QStringLiteral("ファイルマネージャで表示"), this);
    connect(revealAction_, &QAction::triggered, this, [this] {
        std::vector<std::string> paths;
        for (const Entry& entry : bridge_.model().selectedEntries()) paths.push_back(entry.path);
        bridge_.model().reveal(paths);
    });

    addKeys();

    connect(&bridge_, &ModelBridge::changed, this, [this](const ModelChange& change) {
        const bool ours =
            change.field == ModelField::states && (!change.key || *change.key == category_.id);
        if (ours || change.field == ModelField::browserPath ||
            change.field == ModelField::entrySelection)
            refreshActions();
    });
    refreshActions();
}

void CategoryDetailView::addKeys() {
    // The file manager's keys, anywhere on this screen. Deleting goes through
    // the same confirmation as the footer's buttons, with the same paths.
    const auto key = [this](QKeySequence sequence, auto work) {
        auto* action = new QAction(this);
        action->setShortcut(sequence);
        action->setShortcutContext(Qt::WidgetWithChildrenShortcut);
        connect(action, &QAction::triggered, this, work);
        addAction(action);
    };
    key(QKeySequence(Qt::Key_Delete), [this] {
        bridge_.model().confirmDelete(BrowserNavigation::selection(bridge_.model()), false);
    });
    key(QKeySequence(Qt::SHIFT | Qt::Key_Delete), [this] {
        bridge_.model().confirmDelete(BrowserNavigation::selection(bridge_.model()), true);
    });
    key(QKeySequence(Qt::Key_Backspace), [this] { bridge_.model().goUp(); });
    key(QKeySequence(Qt::ALT | Qt::Key_Up), [this] { bridge_.model().goUp(); });
}

void CategoryDetailView::showLayout(BrowserLayout layout) {
    stack_->setCurrentWidget(layout == BrowserLayout::map ? static_cast<QWidget*>(map_) : list_);
}

QList<QAction*> CategoryDetailView::toolbarActions() const {
    return {scanAction_, revealAction_};
}

void CategoryDetailView::refreshActions() {
    const AppModel& model = bridge_.model();
    if (model.isSavedScan(category_.id)) {
        // What an opened scan shows was measured elsewhere, at another time.
        scanAction_->setText(QStringLiteral("再スキャン"));
        scanAction_->setIcon(SymbolIcons::icon("arrow.clockwise"));
        scanAction_->setEnabled(false);
        scanAction_->setToolTip(QStringLiteral("スキャン結果は再スキャンできません"));
        revealAction_->setEnabled(false);
        return;
    }
    if (model.state(category_.id).status == CategoryState::Status::scanning) {
        scanAction_->setText(QStringLiteral("停止"));
        scanAction_->setIcon(SymbolIcons::icon("stop.circle"));
        scanAction_->setToolTip(QString());
    } else {
        scanAction_->setText(QStringLiteral("再スキャン"));
        scanAction_->setIcon(SymbolIcons::icon("arrow.clockwise"));
        scanAction_->setToolTip(QStringLiteral("このカテゴリを再スキャン"));
    }
    revealAction_->setEnabled(model.browserPath() || !model.entrySelection().empty());
}

}  // namespace kelvane
