#pragma once

#include <QObject>
#include <memory>
#include <optional>

#include "model/app_model.h"

namespace kelvane {

class Services;
class MainWindow;
class ModelBridge;
class QtMainQueue;

// The application: one model for the life of the process, the Qt adapters of
// its ports, and the one window. The launch scan starts when the window first
// shows.
class KelvaneApp : public QObject {
    Q_OBJECT
  public:
    // The real desktop and machine by default; tests pass their own services
    // (fakes for the tools) and environment (a temporary home).
    explicit KelvaneApp(std::shared_ptr<Services> services = nullptr,
                        std::optional<ModelEnvironment> environment = std::nullopt);
    ~KelvaneApp() override;

    AppModel& model() const;
    ModelBridge& bridge() const { return *bridge_; }
    MainWindow& window() const { return *window_; }

    // Application name, organisation, the icon theme and Qt's Japanese
    // texts; call once after the QApplication exists.
    static void configureApplication();

  private:
    static void speakJapanese();

    std::shared_ptr<QtMainQueue> queue_;
    std::shared_ptr<Services> services_;
    std::unique_ptr<ModelBridge> bridge_;
    std::unique_ptr<MainWindow> window_;
};

}  // namespace kelvane
