#pragma once

#include "core/clean_category.h"
#include "ui/tools/tool_screen.h"

class QLabel;

namespace kelvane {

// The installed simulator runtimes with their sizes and total, each deletable
// on its own, plus the removal of unavailable simulators. Shows the model's
// list; loading it is the model's business.
class RuntimesView : public ToolScreen {
    Q_OBJECT
  public:
    RuntimesView(ModelBridge& bridge, CleanCategory category, QWidget* parent = nullptr);

    QLabel* totalLabel() const { return total_; }

  private:
    void refresh();

    QLabel* total_;
};

}  // namespace kelvane
