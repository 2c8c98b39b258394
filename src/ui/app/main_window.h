#pragma once

#include <QMainWindow>

class QAction;
class QToolBar;

namespace kelvane {

class ContentView;
class ModelBridge;
class Screen;

// The application's one window: the content view, the toolbar with the two
// global buttons followed by the current screen's own, the menus with "終了"
// (Ctrl+Q) and "すべて再スキャン" (Ctrl+R), and a title naming the screen.
class MainWindow : public QMainWindow {
    Q_OBJECT
  public:
    explicit MainWindow(ModelBridge& bridge, QWidget* parent = nullptr);

    ContentView* content() const { return content_; }
    QToolBar* toolbar() const { return toolbar_; }

  signals:
    // Emitted once, the first time the window is shown.
    void firstShown();

  protected:
    void showEvent(QShowEvent* event) override;

  private:
    // Puts the screen's toolbar actions and its title in place.
    void showScreen(Screen* screen);
    void updateExportAction();

    ModelBridge& bridge_;
    ContentView* content_;
    QToolBar* toolbar_;
    QList<QAction*> screenActions_;
    QAction* exportScan_ = nullptr;
    bool shown_ = false;
};

}  // namespace kelvane
