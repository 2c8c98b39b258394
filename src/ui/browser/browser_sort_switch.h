#pragma once

#include <QWidget>

class QToolButton;

namespace kelvane {

class ModelBridge;

// The two-way switch above the browser's list: by size ("サイズ順") or by the
// change since the comparison point ("増減順"). The model holds the order, so
// the list and every category opened later follow it.
class BrowserSortSwitch : public QWidget {
    Q_OBJECT
  public:
    explicit BrowserSortSwitch(ModelBridge& bridge, QWidget* parent = nullptr);

    QToolButton* sizeButton() const { return size_; }
    QToolButton* growthButton() const { return growth_; }

  private:
    void showSort();

    ModelBridge& bridge_;
    QToolButton* size_;
    QToolButton* growth_;
};

}  // namespace kelvane
