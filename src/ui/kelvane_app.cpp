#include "ui/kelvane_app.h"

#include <QApplication>

#include "model/app_model.h"
#include "ui/desktop_services.h"
#include "ui/main_window.h"
#include "ui/model_bridge.h"
#include "ui/qt_main_queue.h"
#include "ui/symbol_icons.h"

namespace kelvane {

void KelvaneApp::configureApplication() {
    QApplication::setApplicationName(QStringLiteral("Kelvane"));
    QApplication::setOrganizationName(QStringLiteral("Kelvane"));
    QApplication::setApplicationDisplayName(QStringLiteral("Kelvane"));
    QApplication::setDesktopFileName(QStringLiteral("io.kelvane.Kelvane"));
    qRegisterMetaType<ModelChange>();
    SymbolIcons::installTheme();
}

KelvaneApp::KelvaneApp()
    : queue_(std::make_shared<QtMainQueue>(this)), services_(std::make_shared<DesktopServices>()) {
    bridge_ = std::make_unique<ModelBridge>(AppModel::create(queue_, services_));
    window_ = std::make_unique<MainWindow>(*bridge_);
    services_->setWindow(window_.get());
    connect(window_.get(), &MainWindow::firstShown, this, [this] { model().startInitialScan(); });
}

KelvaneApp::~KelvaneApp() {
    // Background work may still post; from now on it posts into the void.
    queue_->shutdown();
    window_.reset();
}

AppModel& KelvaneApp::model() const {
    return bridge_->model();
}

}  // namespace kelvane
