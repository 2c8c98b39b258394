#pragma once

#include <QWidget>

class QLabel;

namespace kelvane {

class ModelBridge;
class Spinner;

// The bottom of the sidebar: what quick clean could free, and how many scans
// are running.
class SidebarFooter : public QWidget {
    Q_OBJECT
  public:
    explicit SidebarFooter(ModelBridge& bridge, QWidget* parent = nullptr);

    QString totalText() const;
    QString runningText() const;  // empty while no scan runs

  private:
    void refresh();

    ModelBridge& bridge_;
    QLabel* total_;
    Spinner* spinner_;
    QLabel* running_;
};

}  // namespace kelvane
