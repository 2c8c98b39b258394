// Renders every screen of the window to PNG files for a human look, headless
// (QT_QPA_PLATFORM=offscreen unless a platform was chosen). Run it with HOME
// pointing at a demo home (scripts/make-demo-home.sh) for realistic figures.
// Usage: kelvane-screenshots OUTPUT_FOLDER [CATEGORY_ID…]
#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QPixmap>
#include <QThread>
#include <QTimer>
#include <cstdio>

#include "model/app_model.h"
#include "model/tasks.h"
#include "ui/kelvane_app.h"
#include "ui/main_window.h"

namespace {

// Lets the event loop run until `done` holds or `limitMs` passes.
template <typename Predicate>
void runUntil(Predicate done, int limitMs) {
    QElapsedTimer clock;
    clock.start();
    while (!done() && clock.elapsed() < limitMs) {
        QApplication::processEvents(QEventLoop::AllEvents, 50);
        QThread::msleep(10);
    }
    QApplication::processEvents();
}

bool save(QWidget& window, const QString& file) {
    const bool ok = window.grab().save(file);
    std::printf("%s%s\n", qPrintable(file), ok ? "" : " (failed)");
    return ok;
}

}  // namespace

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    kelvane::KelvaneApp::configureApplication();
    const QString out = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral("screenshots");
    if (!QDir().mkpath(out)) {
        std::fprintf(stderr, "cannot create %s\n", qPrintable(out));
        return 1;
    }
    QStringList ids;
    for (int i = 2; i < argc; ++i) ids << QString::fromLocal8Bit(argv[i]);
    if (ids.isEmpty())
        ids << "user_caches"
            << "derived_data"
            << "trash"
            << "snapshots"
            << "sim_runtimes";

    kelvane::KelvaneApp app;
    kelvane::MainWindow& window = app.window();
    window.resize(1180, 760);
    window.show();
    runUntil([] { return false; }, 300);
    bool ok = save(window, out + "/scanning.png");
    runUntil([&] { return app.model().scanTasks().empty(); }, 60000);
    ok = save(window, out + "/overview.png") && ok;
    for (const QString& id : ids) {
        app.model().setSelectedID(id.toStdString());
        runUntil([&] { return !app.model().entriesLoading() && kelvane::runningTaskCount() == 0; },
                 20000);
        ok = save(window, out + "/" + id + ".png") && ok;
    }
    return ok ? 0 : 1;
}
