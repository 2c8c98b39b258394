#pragma once

#include <QWidget>

class QTimer;
class QTreeView;

namespace kelvane {

class ModelBridge;
class SidebarDelegate;
class SidebarFooter;
class SidebarModel;

// The window's left column: the overview and every category in their
// sections, bound two-way to the model's selection, with the footer pinned
// below the list.
class SidebarView : public QWidget {
    Q_OBJECT
  public:
    explicit SidebarView(ModelBridge& bridge, QWidget* parent = nullptr);

    QTreeView* list() const { return list_; }
    SidebarModel* itemModel() const { return model_; }
    SidebarFooter* footer() const { return footer_; }

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    void selectFromModel();
    void showContextMenu(const QPoint& position);
    void updateSpinnerTimer();

    ModelBridge& bridge_;
    SidebarModel* model_;
    SidebarDelegate* delegate_;
    QTreeView* list_;
    SidebarFooter* footer_;
    QTimer* spinnerTimer_;
    int phase_ = 0;
    bool syncing_ = false;
};

}  // namespace kelvane
