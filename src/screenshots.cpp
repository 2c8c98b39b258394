// Renders every screen of the window to PNG files for a human look, headless
// (QT_QPA_PLATFORM=offscreen unless a platform was chosen). Run it with HOME
// pointing at a demo home (scripts/make-demo-home.sh) for realistic figures.
// Usage: kelvane-screenshots OUTPUT_FOLDER [CATEGORY_ID…]
#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QPalette>
#include <QPixmap>
#include <QStyle>
#include <QThread>
#include <QTimer>
#include <cstdio>

#include "model/app_model.h"
#include "model/tasks.h"
#include "ui/app/kelvane_app.h"
#include "ui/app/main_window.h"
#include "ui/components/symbol_icons.h"

#include <QMessageBox>
#include <QPainter>
#include <filesystem>
#include <set>

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

// The folder browser of the category detail screen in the states worth a
// look: several roots side by side, a folder with a selection, a folder that
// cannot be read, and the confirmation that deleting the selection asks for.
// Needs the demo home (scripts/make-demo-home.sh); the unreadable folder only
// refuses a user other than root.
bool saveDetailScenes(kelvane::KelvaneApp& app, const QString& out) {
    kelvane::AppModel& model = app.model();
    QWidget& window = app.window();
    const auto settle = [&] {
        runUntil([&] { return !model.entriesLoading() && kelvane::runningTaskCount() == 0; },
                 20000);
    };
    const auto open = [&](std::optional<std::string> folder) {
        model.setBrowserPath(std::move(folder));
        model.setEntrySelection({});
        model.loadEntries();
        settle();
    };
    bool ok = true;
    model.setSelectedID("node_caches");
    settle();
    open(std::nullopt);
    ok = save(window, out + "/detail-top-level.png") && ok;

    const std::string caches = model.home() + "/Library/Caches";
    model.setSelectedID("user_caches");
    settle();
    open(caches);
    std::set<std::string> chosen;
    for (std::size_t i = 1; i < model.entries().size() && chosen.size() < 2; ++i)
        chosen.insert(model.entries()[i].path);
    model.setEntrySelection(chosen);
    runUntil([] { return false; }, 200);
    ok = save(window, out + "/detail-selection.png") && ok;

    // The dialog is a window of its own: draw it over the main window.
    model.confirmDelete(std::vector<std::string>(chosen.begin(), chosen.end()), false);
    runUntil([] { return false; }, 300);
    if (auto* box = window.findChild<QMessageBox*>()) {
        QPixmap shot = window.grab();
        const QPixmap dialog = box->grab();
        QPainter painter(&shot);
        painter.fillRect(shot.rect(), QColor(0, 0, 0, 60));
        painter.drawPixmap((shot.width() - dialog.width()) / 2,
                           (shot.height() - dialog.height()) / 3, dialog);
        painter.end();
        const QString file = out + "/detail-confirmation.png";
        ok = shot.save(file) && ok;
        std::printf("%s\n", qPrintable(file));
        box->reject();
        runUntil([] { return false; }, 200);
    }

    open(caches + "/com.example.locked");
    ok = save(window, out + "/detail-unreadable.png") && ok;
    return ok;
}

// Qt's own style with a dark palette, as a dark desktop theme would give.
void useDarkPalette() {
    QApplication::setStyle(QStringLiteral("Fusion"));
    QPalette p;
    p.setColor(QPalette::Window, QColor(0x2b, 0x2d, 0x30));
    p.setColor(QPalette::WindowText, QColor(0xe8, 0xe8, 0xe8));
    p.setColor(QPalette::Base, QColor(0x1f, 0x21, 0x24));
    p.setColor(QPalette::AlternateBase, QColor(0x2b, 0x2d, 0x30));
    p.setColor(QPalette::Text, QColor(0xe8, 0xe8, 0xe8));
    p.setColor(QPalette::Button, QColor(0x35, 0x38, 0x3b));
    p.setColor(QPalette::ButtonText, QColor(0xe8, 0xe8, 0xe8));
    p.setColor(QPalette::Highlight, QColor(0x3d, 0x8e, 0xd8));
    p.setColor(QPalette::HighlightedText, Qt::white);
    p.setColor(QPalette::ToolTipBase, QColor(0x35, 0x38, 0x3b));
    p.setColor(QPalette::ToolTipText, QColor(0xe8, 0xe8, 0xe8));
    p.setColor(QPalette::PlaceholderText, QColor(0x90, 0x90, 0x90));
    p.setColor(QPalette::Disabled, QPalette::Text, QColor(0x80, 0x80, 0x80));
    p.setColor(QPalette::Disabled, QPalette::ButtonText, QColor(0x80, 0x80, 0x80));
    p.setColor(QPalette::Disabled, QPalette::WindowText, QColor(0x80, 0x80, 0x80));
    p.setColor(QPalette::Mid, QColor(0x45, 0x48, 0x4b));
    QApplication::setPalette(p);
    kelvane::SymbolIcons::installTheme();
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
    bool dark = false;
    for (int i = 2; i < argc; ++i) {
        const QString arg = QString::fromLocal8Bit(argv[i]);
        if (arg == QStringLiteral("--dark")) {
            dark = true;
        } else {
            ids << arg;
        }
    }
    const bool defaultScenes = ids.isEmpty();
    if (dark) useDarkPalette();
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
    // Catch the launch scan early, while rows still grow.
    runUntil([] { return false; }, 150);
    bool ok = save(window, out + "/scanning.png");
    runUntil([&] { return app.model().scanTasks().empty(); }, 60000);
    ok = save(window, out + "/overview.png") && ok;
    for (const QString& id : ids) {
        app.model().setSelectedID(id.toStdString());
        runUntil([&] { return !app.model().entriesLoading() && kelvane::runningTaskCount() == 0; },
                 20000);
        ok = save(window, out + "/" + id + ".png") && ok;
    }
    if (defaultScenes && std::filesystem::exists(app.model().home() + "/.kelvane-demo-home"))
        ok = saveDetailScenes(app, out) && ok;
    return ok ? 0 : 1;
}
