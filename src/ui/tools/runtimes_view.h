#pragma once

#include "core/clean_category.h"
#include "ui/tools/tool_screen.h"

class QLabel;

namespace kelvane {

// The Flatpak runtimes and disabled Snap revisions with their sizes and total,
// each deletable on its own unless an app needs it, plus the removal of every
// runtime no app uses. Shows the model's list; loading it is the model's
// business.
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
