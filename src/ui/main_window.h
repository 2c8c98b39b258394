#pragma once

#include <QMainWindow>

class QTreeWidget;
class QLabel;

namespace kelvane {

// The application's one window: the category sidebar beside the detail area.
class MainWindow : public QMainWindow {
    Q_OBJECT
public:
    explicit MainWindow(QWidget* parent = nullptr);

private:
    void buildSidebar();

    QTreeWidget* sidebar_ = nullptr;
    QLabel* detail_ = nullptr;
};

}  // namespace kelvane
