#pragma once

#include <QList>
#include <QWidget>

class QAction;

namespace kelvane {

class ModelBridge;

// A screen of the detail area. Screens read the model through the bridge and
// may contribute their own buttons to the window's toolbar.
class Screen : public QWidget {
    Q_OBJECT
  public:
    Screen(ModelBridge& bridge, QWidget* parent) : QWidget(parent), bridge_(bridge) {}

    // Actions the window shows in its toolbar while this screen is shown.
    virtual QList<QAction*> toolbarActions() const { return {}; }

  protected:
    ModelBridge& bridge_;
};

}  // namespace kelvane
