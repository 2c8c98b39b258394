#pragma once

#include <QObject>
#include <memory>

namespace kelvane {

class AppModel;
class DesktopServices;
class MainWindow;
class ModelBridge;
class QtMainQueue;

// The application: one model for the life of the process, the Qt adapters of
// its ports, and the one window. The launch scan starts when the window first
// shows.
class KelvaneApp : public QObject {
    Q_OBJECT
  public:
    KelvaneApp();
    ~KelvaneApp() override;

    AppModel& model() const;
    ModelBridge& bridge() const { return *bridge_; }
    MainWindow& window() const { return *window_; }

    // Application name, organisation and the icon theme; call once after the
    // QApplication exists.
    static void configureApplication();

  private:
    std::shared_ptr<QtMainQueue> queue_;
    std::shared_ptr<DesktopServices> services_;
    std::unique_ptr<ModelBridge> bridge_;
    std::unique_ptr<MainWindow> window_;
};

}  // namespace kelvane
