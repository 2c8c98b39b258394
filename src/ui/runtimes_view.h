#pragma once

#include "core/clean_category.h"
#include "ui/screen.h"

class QAction;
class QLabel;

namespace kelvane {

class InsetList;

// The installed simulator runtimes with their sizes and total, each deletable
// on its own, plus the removal of unavailable simulators. Shows the model's
// list; loading it is the model's business.
class RuntimesView : public Screen {
    Q_OBJECT
  public:
    RuntimesView(ModelBridge& bridge, CleanCategory category, QWidget* parent = nullptr);

    QList<QAction*> toolbarActions() const override;

    InsetList* list() const { return list_; }
    QLabel* totalLabel() const { return total_; }

  private:
    void refresh();

    CleanCategory category_;
    QAction* reload_;
    QLabel* total_;
    InsetList* list_;
};

}  // namespace kelvane
