#pragma once

#include "core/clean_category.h"
#include "ui/screen.h"

class QAction;
class QPushButton;

namespace kelvane {

class InsetList;

// The local snapshots of the startup disk, each deletable on its own or all at
// once. Shows the model's list; loading it is the model's business.
class SnapshotsView : public Screen {
    Q_OBJECT
  public:
    SnapshotsView(ModelBridge& bridge, CleanCategory category, QWidget* parent = nullptr);

    QList<QAction*> toolbarActions() const override;

    InsetList* list() const { return list_; }
    QPushButton* deleteAllButton() const { return deleteAll_; }

  private:
    void refresh();

    CleanCategory category_;
    QAction* reload_;
    QPushButton* deleteAll_;
    InsetList* list_;
};

}  // namespace kelvane
