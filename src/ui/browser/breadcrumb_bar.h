#pragma once

#include <QList>
#include <QWidget>
#include <vector>

#include "model/app_model.h"

class QHBoxLayout;
class QScrollArea;
class QToolButton;

namespace kelvane {

class ModelBridge;

// The path bar over the browser list: a back button that moves one level up
// and the trail of crumbs, each of which opens its folder (or the category's
// top level).
class BreadcrumbBar : public QWidget {
    Q_OBJECT
  public:
    explicit BreadcrumbBar(ModelBridge& bridge, QWidget* parent = nullptr);

    QToolButton* backButton() const { return back_; }
    // The crumb buttons, in trail order.
    const QList<QToolButton*>& crumbButtons() const { return buttons_; }

  private:
    void rebuild();

    ModelBridge& bridge_;
    QToolButton* back_;
    QScrollArea* scroll_;
    QWidget* trail_;
    QHBoxLayout* trailLayout_;
    QList<QToolButton*> buttons_;
    std::vector<Crumb> shown_;
    bool built_ = false;
};

}  // namespace kelvane
