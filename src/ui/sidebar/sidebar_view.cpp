#include "ui/sidebar/sidebar_view.h"

#include <QHeaderView>
#include <QMenu>
#include <QMouseEvent>
#include <QTimer>
#include <QTreeView>
#include <QVBoxLayout>

#include "core/catalog.h"
#include "ui/app/model_bridge.h"
#include "ui/sidebar/sidebar_delegate.h"
#include "ui/sidebar/sidebar_footer.h"
#include "ui/sidebar/sidebar_model.h"

namespace kelvane {

SidebarView::SidebarView(ModelBridge& bridge, QWidget* parent)
    : QWidget(parent),
      bridge_(bridge),
      model_(new SidebarModel(bridge, this)),
      delegate_(new SidebarDelegate(this)),
      list_(new QTreeView(this)),
      footer_(new SidebarFooter(bridge, this)),
      spinnerTimer_(new QTimer(this)) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    list_->setModel(model_);
    list_->setItemDelegate(delegate_);
    list_->setHeaderHidden(true);
    list_->setRootIsDecorated(false);
    list_->setItemsExpandable(false);
    list_->setIndentation(0);
    list_->setUniformRowHeights(false);
    list_->setSelectionMode(QAbstractItemView::SingleSelection);
    list_->setFrameShape(QFrame::NoFrame);
    list_->setContextMenuPolicy(Qt::CustomContextMenu);
    // A right click only opens the row's menu: the list would otherwise make
    // the row current, which selects it and switches the screen under the menu.
    list_->viewport()->installEventFilter(this);
    list_->setAccessibleName(QStringLiteral("カテゴリ"));
    list_->expandAll();
    layout->addWidget(list_, 1);
    layout->addWidget(footer_);

    connect(model_, &QAbstractItemModel::modelReset, this, [this] {
        list_->expandAll();
        selectFromModel();
    });
    connect(list_->selectionModel(), &QItemSelectionModel::currentChanged, this,
            [this](const QModelIndex& current) {
                if (syncing_ || !current.isValid()) return;
                const QByteArray value =
                    current.data(SidebarModel::SelectionValueRole).toByteArray();
                if (value.isEmpty()) return;
                bridge_.model().setSelectedID(value.toStdString());
            });
    connect(list_, &QWidget::customContextMenuRequested, this, &SidebarView::showContextMenu);
    connect(&bridge_, &ModelBridge::changed, this, [this](const ModelChange& change) {
        if (change.field == ModelField::selectedID) selectFromModel();
        if (change.field == ModelField::states) updateSpinnerTimer();
    });

    spinnerTimer_->setInterval(80);
    connect(spinnerTimer_, &QTimer::timeout, this, [this] {
        phase_ = (phase_ + 30) % 360;
        delegate_->setPhase(phase_);
        list_->viewport()->update();
    });
    selectFromModel();
}

bool SidebarView::eventFilter(QObject* watched, QEvent* event) {
    if (watched == list_->viewport()) {
        switch (event->type()) {
            case QEvent::MouseButtonPress:
            case QEvent::MouseButtonRelease:
            case QEvent::MouseButtonDblClick:
                if (static_cast<QMouseEvent*>(event)->button() == Qt::RightButton) return true;
                break;
            default:
                break;
        }
    }
    return QWidget::eventFilter(watched, event);
}

void SidebarView::selectFromModel() {
    const auto& selected = bridge_.model().selectedID();
    const QModelIndex target = selected ? model_->indexForSelection(*selected) : QModelIndex();
    syncing_ = true;
    if (target.isValid()) {
        list_->selectionModel()->setCurrentIndex(target, QItemSelectionModel::ClearAndSelect);
        list_->scrollTo(target);
    } else {
        list_->selectionModel()->clear();
    }
    syncing_ = false;
}

void SidebarView::updateSpinnerTimer() {
    bool anyScanning = false;
    for (const auto& [id, s] : bridge_.model().states()) {
        if (s.status == CategoryState::Status::scanning) {
            anyScanning = true;
            break;
        }
    }
    if (anyScanning && !spinnerTimer_->isActive()) spinnerTimer_->start();
    if (!anyScanning) spinnerTimer_->stop();
}

void SidebarView::showContextMenu(const QPoint& position) {
    const QModelIndex index = list_->indexAt(position);
    const QByteArray idBytes = index.data(SidebarModel::CategoryIdRole).toByteArray();
    if (idBytes.isEmpty()) return;
    const std::string id = idBytes.toStdString();
    const auto& categories = bridge_.model().categories();
    const auto it = std::find_if(categories.begin(), categories.end(),
                                 [&](const CleanCategory& c) { return c.id == id; });
    if (it == categories.end()) return;
    const CleanCategory category = *it;

    QMenu menu(this);
    const bool saved = bridge_.model().isSavedScan(id);
    if (category.kind == CategoryKind::folders && !saved) {
        menu.addAction(QStringLiteral("再スキャン"), this,
                       [this, category] { bridge_.model().scan(category); });
    }
    if (id.rfind(Catalog::kCustomPrefix, 0) == 0 || saved) {
        // Only the sidebar's row goes: the folder, or the scan's file, stays.
        menu.addAction(
            saved ? QStringLiteral("スキャン結果を閉じる") : QStringLiteral("一覧から削除"), this,
            [this, category] { bridge_.model().removeCustomFolder(category); });
    }
    if (!menu.isEmpty()) menu.exec(list_->viewport()->mapToGlobal(position));
}

}  // namespace kelvane
