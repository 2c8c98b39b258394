#pragma once

#include <QPointer>
#include <QWidget>
#include <optional>

#include "core/uuid.h"

#include <QMessageBox>
class QSplitter;

namespace kelvane {

class BusyOverlay;
class DetailRouter;
class ModelBridge;
class SidebarView;

// The window's content: the sidebar beside the detail area, plus the
// confirmation and notice dialogs and the busy overlay, all driven by the
// model's pendingAction, notice and busyMessage.
class ContentView : public QWidget {
    Q_OBJECT
  public:
    explicit ContentView(ModelBridge& bridge, QWidget* parent = nullptr);

    DetailRouter* router() const { return router_; }
    SidebarView* sidebar() const { return sidebar_; }
    // The dialog on screen, if any (for tests and accessibility checks).
    QMessageBox* openDialog() const { return dialog_; }

  private:
    void onChange(int field);
    // Shows the pending confirmation, else the notice, when no dialog is open.
    void showNextDialog();
    void showConfirmation();
    void showNotice();

    ModelBridge& bridge_;
    QSplitter* splitter_;
    SidebarView* sidebar_;
    DetailRouter* router_;
    BusyOverlay* overlay_;
    QPointer<QMessageBox> dialog_;
    std::optional<Uuid> shownAction_;
    bool dialogScheduled_ = false;
};

}  // namespace kelvane
