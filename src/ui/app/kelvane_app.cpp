#include "ui/app/kelvane_app.h"

#include <QApplication>
#include <QLibraryInfo>
#include <QLocale>
#include <QTranslator>

#include "model/app_model.h"
#include "ui/app/desktop_services.h"
#include "ui/app/history_setting.h"
#include "ui/app/main_window.h"
#include "ui/app/model_bridge.h"
#include "ui/app/qt_main_queue.h"
#include "ui/components/symbol_icons.h"

namespace kelvane {

void KelvaneApp::configureApplication() {
    // Lower case, as the executable: assistive technology lists the app by this name.
    QApplication::setApplicationName(QStringLiteral("kelvane"));
    QApplication::setOrganizationName(QStringLiteral("Kelvane"));
    QApplication::setApplicationDisplayName(QStringLiteral("Kelvane"));
    QApplication::setDesktopFileName(QStringLiteral("io.kelvane.Kelvane"));
    qRegisterMetaType<ModelChange>();
    SymbolIcons::installTheme();
    speakJapanese();
}

void KelvaneApp::speakJapanese() {
    // The interface is Japanese whatever the session's language, so Qt's own
    // texts (the folder chooser, context menus, standard buttons) are too.
    const QLocale japanese(QLocale::Japanese, QLocale::Japan);
    auto* translator = new QTranslator(QCoreApplication::instance());
    if (translator->load(japanese, QStringLiteral("qtbase"), QStringLiteral("_"),
                         QLibraryInfo::path(QLibraryInfo::TranslationsPath))) {
        QCoreApplication::installTranslator(translator);
    }
    // Without a language of the user's (the C locale), Qt's figures and dates
    // follow the interface, as Fmt's do; a chosen locale is kept.
    if (QLocale::system().language() == QLocale::C) QLocale::setDefault(japanese);
}

KelvaneApp::KelvaneApp(std::shared_ptr<Services> services,
                       std::optional<ModelEnvironment> environment)
    : queue_(std::make_shared<QtMainQueue>(this)),
      services_(services ? std::move(services) : std::make_shared<DesktopServices>()) {
    ModelEnvironment env = environment ? std::move(*environment) : ModelEnvironment::real();
    // "履歴を記録する" is kept between launches; on unless the user turned it off.
    env.recordHistory = env.recordHistory && HistorySetting::recordHistory();
    bridge_ = std::make_unique<ModelBridge>(AppModel::create(queue_, services_, std::move(env)));
    window_ = std::make_unique<MainWindow>(*bridge_);
    if (const auto desktop = std::dynamic_pointer_cast<DesktopServices>(services_)) {
        desktop->setWindow(window_.get());
    }
    connect(window_.get(), &MainWindow::firstShown, this, [this] { model().startInitialScan(); });
}

KelvaneApp::~KelvaneApp() {
    // A measurement made just before quitting is still written, if that is quick.
    model().finishRecording(std::chrono::seconds(2));
    // Background work may still post; from now on it posts into the void.
    queue_->shutdown();
    window_.reset();
}

AppModel& KelvaneApp::model() const {
    return bridge_->model();
}

}  // namespace kelvane
