#pragma once

#include "core/clean_category.h"
#include "ui/tools/tool_screen.h"

class QPushButton;

namespace kelvane {

// The local snapshots that keep deleted data on this machine's volumes, each
// deletable on its own or all at once. Shows the model's list; loading it is
// the model's business.
class SnapshotsView : public ToolScreen {
    Q_OBJECT
  public:
    SnapshotsView(ModelBridge& bridge, CleanCategory category, QWidget* parent = nullptr);

    QPushButton* deleteAllButton() const { return deleteAll_; }
    QPushButton* listAsAdminButton() const { return listAsAdmin_; }

  private:
    void refresh();

    QPushButton* deleteAll_;
    QWidget* adminNote_;
    QPushButton* listAsAdmin_;
};

}  // namespace kelvane
