#pragma once

#include "ui/app/screen.h"

class QBoxLayout;
class QScrollArea;

namespace kelvane {

class BiggestCard;
class GrowthCard;
class DiskCard;
class LogCard;
class QuickCleanCard;
class ToolsCard;

// The home screen: disk usage, the quick clean, shortcuts to the other cleanups, the largest
// categories and the activity log, in one scrolling column.
class OverviewView : public Screen {
    Q_OBJECT
  public:
    explicit OverviewView(ModelBridge& bridge, QWidget* parent = nullptr);

    DiskCard* diskCard() const { return disk_; }
    QuickCleanCard* quickCleanCard() const { return quickClean_; }
    ToolsCard* toolsCard() const { return tools_; }
    BiggestCard* biggestCard() const { return biggest_; }
    LogCard* logCard() const { return log_; }
    GrowthCard* growthCard() const { return growth_; }

    // Whether the quick clean and the other cards stand side by side
    // (they stack when the window is too narrow for both).
    bool sideBySide() const;

  protected:
    void showEvent(QShowEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

  private:
    void arrange();

    QScrollArea* scroll_;
    QBoxLayout* middle_;
    DiskCard* disk_;
    QuickCleanCard* quickClean_;
    ToolsCard* tools_;
    BiggestCard* biggest_;
    GrowthCard* growth_ = nullptr;  // without a history, none
    LogCard* log_;
};

}  // namespace kelvane
