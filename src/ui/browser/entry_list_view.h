#pragma once

#include <QListView>

class QMenu;
class QTimer;

namespace kelvane {

class EmptyStatePanel;
class EntryListModel;
class EntryRowDelegate;
class ModelBridge;

// The folder browser's list: one row per entry of the model's listing, a
// multiple selection that is the model's entrySelection (both ways, by path
// bytes), the empty and unreadable-folder panels over it, double click and
// the row chevron to open folders, and the row context menu.
class EntryListView : public QListView {
    Q_OBJECT
  public:
    explicit EntryListView(ModelBridge& bridge, QWidget* parent = nullptr);

    EntryListModel& entries() const { return *model_; }
    EmptyStatePanel& emptyState() const { return *emptyState_; }
    // The context menu of `row`, owned by `parent`; shown by right click.
    QMenu* contextMenu(const QModelIndex& row, QWidget* parent);

  protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    QRegion visualRegionForSelection(const QItemSelection& selection) const override;

  private:
    void open(const QModelIndex& row);
    void pushSelection();
    void pullSelection();
    void updateEmptyState();
    void advanceSpinners();

    ModelBridge& bridge_;
    EntryListModel* model_;
    EntryRowDelegate* delegate_;
    EmptyStatePanel* emptyState_;
    QTimer* spinnerTimer_;
    int spinnerPhase_ = 0;
    // Set while one side of the selection binding updates the other, so the
    // echo does not come back.
    bool syncing_ = false;
};

}  // namespace kelvane
