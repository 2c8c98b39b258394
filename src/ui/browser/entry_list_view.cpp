#include "ui/browser/entry_list_view.h"

#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QMenu>
#include <QMouseEvent>
#include <QScrollBar>
#include <QTimer>
#include <algorithm>
#include <set>

#include "ui/app/model_bridge.h"
#include "ui/browser/browser_navigation.h"
#include "ui/browser/entry_context_menu.h"
#include "ui/browser/entry_list_model.h"
#include "ui/browser/entry_row_delegate.h"
#include "ui/browser/listing_empty_state.h"
#include "ui/components/empty_state_panel.h"

namespace kelvane {

EntryListView::EntryListView(ModelBridge& bridge, QWidget* parent)
    : QListView(parent),
      bridge_(bridge),
      model_(new EntryListModel(bridge, this)),
      delegate_(new EntryRowDelegate(*model_, this)),
      emptyState_(new EmptyStatePanel(this)),
      spinnerTimer_(new QTimer(this)) {
    setModel(model_);
    setItemDelegate(delegate_);
    // Every row has the same height, so the view can place 100,000 rows
    // without asking each one for its size.
    setUniformItemSizes(true);
    setSelectionMode(QAbstractItemView::ExtendedSelection);
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setFrameShape(QFrame::NoFrame);
    setMouseTracking(true);
    setSpacing(0);
    setViewportMargins(0, 4, 0, 4);
    verticalScrollBar()->setSingleStep(EntryRowDelegate::rowHeight());

    emptyState_->setAttribute(Qt::WA_TransparentForMouseEvents);
    emptyState_->hide();

    connect(selectionModel(), &QItemSelectionModel::selectionChanged, this,
            [this] { pushSelection(); });
    connect(model_, &QAbstractItemModel::modelReset, this, [this] {
        pullSelection();
        updateEmptyState();
    });
    connect(&bridge_, &ModelBridge::changed, this, [this](const ModelChange& change) {
        switch (change.field) {
            case ModelField::entrySelection:
                pullSelection();
                break;
            case ModelField::entriesLoading:
            case ModelField::entriesError:
                updateEmptyState();
                break;
            default:
                break;
        }
    });

    spinnerTimer_->setInterval(80);
    connect(spinnerTimer_, &QTimer::timeout, this, [this] { advanceSpinners(); });
    pullSelection();
    updateEmptyState();
}

void EntryListView::open(const QModelIndex& row) {
    const Entry* entry = model_->entryAt(row.row());
    if (entry == nullptr || !EntryListModel::isOpenable(*entry)) return;
    BrowserNavigation::open(bridge_.model(), entry->path);
}

void EntryListView::pushSelection() {
    if (syncing_) return;
    std::set<std::string> paths;
    for (const QItemSelectionRange& range : selectionModel()->selection()) {
        for (int row = range.top(); row <= range.bottom(); ++row) {
            if (const Entry* entry = model_->entryAt(row)) paths.insert(entry->path);
        }
    }
    syncing_ = true;
    bridge_.model().setEntrySelection(std::move(paths));
    syncing_ = false;
}

void EntryListView::pullSelection() {
    if (syncing_) return;
    const auto& wanted = bridge_.model().entrySelection();
    QItemSelection selection;
    if (!wanted.empty()) {
        // Consecutive selected rows become one range: a select-all of a huge
        // folder is then one range, not 100,000.
        int first = -1;
        const int rows = model_->rowCount();
        for (int row = 0; row <= rows; ++row) {
            const Entry* entry = row < rows ? model_->entryAt(row) : nullptr;
            const bool selected = entry != nullptr && wanted.count(entry->path) != 0;
            if (selected && first < 0) first = row;
            if (!selected && first >= 0) {
                selection.select(model_->index(first), model_->index(row - 1));
                first = -1;
            }
        }
    }
    syncing_ = true;
    selectionModel()->select(selection, QItemSelectionModel::ClearAndSelect);
    syncing_ = false;
}

void EntryListView::updateEmptyState() {
    showListingEmptyState(*emptyState_, bridge_.model());
}

QMenu* EntryListView::contextMenu(const QModelIndex& row, QWidget* parent) {
    const Entry* entry = model_->entryAt(row.row());
    return entry == nullptr ? nullptr : entryContextMenu(bridge_.model(), *entry, parent);
}

void EntryListView::contextMenuEvent(QContextMenuEvent* event) {
    QModelIndex row = indexAt(viewport()->mapFrom(this, event->pos()));
    if (event->reason() == QContextMenuEvent::Keyboard) row = currentIndex();
    if (!row.isValid()) return;
    QMenu* menu = contextMenu(row, this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->popup(event->globalPos());
}

void EntryListView::mousePressEvent(QMouseEvent* event) {
    const QModelIndex row = indexAt(event->position().toPoint());
    // A right click opens the row's menu without touching the selection: the
    // menu then acts on that row alone unless it was already selected.
    if (event->button() == Qt::RightButton) {
        setFocus(Qt::MouseFocusReason);
        event->accept();
        return;
    }
    if (event->button() == Qt::LeftButton && row.isValid() &&
        row.data(EntryListModel::OpenableRole).toBool() &&
        EntryRowDelegate::geometry(visualRect(row)).chevron.contains(event->position().toPoint())) {
        event->accept();
        open(row);
        return;
    }
    QListView::mousePressEvent(event);
}

void EntryListView::mouseDoubleClickEvent(QMouseEvent* event) {
    const QModelIndex row = indexAt(event->position().toPoint());
    if (event->button() == Qt::LeftButton && row.data(EntryListModel::OpenableRole).toBool()) {
        event->accept();
        open(row);
        return;
    }
    QListView::mouseDoubleClickEvent(event);
}

void EntryListView::keyPressEvent(QKeyEvent* event) {
    const bool enter = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    const auto& selected = bridge_.model().entrySelection();
    // Return opens the one selected folder; with several selected it is not
    // clear which one the user means.
    if (enter && event->modifiers() == Qt::NoModifier && selected.size() == 1) {
        const int row = model_->rowOf(*selected.begin());
        if (row >= 0 && model_->index(row).data(EntryListModel::OpenableRole).toBool()) {
            open(model_->index(row));
            return;
        }
    }
    QListView::keyPressEvent(event);
}

void EntryListView::resizeEvent(QResizeEvent* event) {
    QListView::resizeEvent(event);
    emptyState_->setGeometry(viewport()->geometry());
}

void EntryListView::showEvent(QShowEvent* event) {
    QListView::showEvent(event);
    spinnerTimer_->start();
}

void EntryListView::hideEvent(QHideEvent* event) {
    QListView::hideEvent(event);
    spinnerTimer_->stop();
}

QRegion EntryListView::visualRegionForSelection(const QItemSelection& selection) const {
    // Qt's own version visits every selected row; after a select-all of a
    // huge folder only the rows on screen need repainting.
    const QModelIndex top = indexAt(QPoint(0, 0));
    if (!top.isValid()) return {};
    const QModelIndex bottom = indexAt(QPoint(0, viewport()->height() - 1));
    const int last = bottom.isValid() ? bottom.row() : model_->rowCount() - 1;
    QRegion region;
    for (const QItemSelectionRange& range : selection) {
        const int from = std::max(range.top(), top.row());
        const int to = std::min(range.bottom(), last);
        if (from <= to)
            region += visualRect(model_->index(from)).united(visualRect(model_->index(to)));
    }
    return region;
}

void EntryListView::advanceSpinners() {
    // Only rows on screen that are still being measured are repainted.
    const QModelIndex top = indexAt(QPoint(0, 0));
    if (!top.isValid()) return;
    const QModelIndex bottom = indexAt(QPoint(0, viewport()->height() - 1));
    const int last = bottom.isValid() ? bottom.row() : model_->rowCount() - 1;
    QRegion dirty;
    for (int row = top.row(); row <= last; ++row) {
        const Entry* entry = model_->entryAt(row);
        if (entry != nullptr && !entry->size)
            dirty += EntryRowDelegate::geometry(visualRect(model_->index(row))).size;
    }
    if (dirty.isEmpty()) return;
    spinnerPhase_ = (spinnerPhase_ + 30) % 360;
    delegate_->setSpinnerPhase(spinnerPhase_);
    viewport()->update(dirty);
}

}  // namespace kelvane
