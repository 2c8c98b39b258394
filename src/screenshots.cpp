// Renders every screen of the window to PNG files for a human look, headless
// (QT_QPA_PLATFORM=offscreen unless a platform was chosen). Run it with HOME
// pointing at a demo home (scripts/make-demo-home.sh) for realistic figures;
// over a demo home it also renders the dialogs, and run as the user a demo
// home made with --owner belongs to, the administrator's confirmation too.
// Usage: kelvane-screenshots OUTPUT_FOLDER [--dark] [--map] [--list-snapshots] [--open EXPORT]
//                            [CATEGORY_ID…]
// --open renders an export file opened as a scan (saved-scan.png, with --map saved-scan-map.png);
// --map also renders each named category as a map (ID-map.png);
// --list-snapshots lists the snapshots through the administrator helper
// (snapshots-listed.png), which asks for the password as the app would.
#include <unistd.h>
#include <QAbstractButton>
#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFileDialog>
#include <QMessageBox>
#include <QPainter>
#include <QPalette>
#include <QPixmap>
#include <QStyle>
#include <QThread>
#include <QTimer>
#include <QToolButton>

#include <cstdio>
#include <filesystem>
#include <set>
#include <utility>

#include "model/app_model.h"
#include "model/tasks.h"
#include "ui/app/content_view.h"
#include "ui/app/detail_router.h"
#include "ui/app/kelvane_app.h"
#include "ui/app/main_window.h"
#include "ui/browser/browser_layout_switch.h"
#include "ui/browser/category_detail_view.h"
#include "ui/components/symbol_icons.h"

namespace {

// The category holding the demo home's app caches and their folder: the
// other platform's ~/Library/Caches where the demo home has it, else ~/.cache
// (a home made with --linux).
std::pair<std::string, std::string> demoCaches(const kelvane::AppModel& model) {
    for (const kelvane::CleanCategory& c : model.categories()) {
        if (c.id == "user_caches") return {c.id, model.home() + "/Library/Caches"};
    }
    return {"dot_cache", model.home() + "/.cache"};
}

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

// A dialog is a window of its own: drawn over the dimmed main window.
bool saveWithDialog(QWidget& window, QWidget& dialog, const QString& file) {
    QPixmap shot = window.grab();
    const QPixmap over = dialog.grab();
    QPainter painter(&shot);
    painter.fillRect(shot.rect(), QColor(0, 0, 0, 60));
    painter.drawPixmap((shot.width() - over.width()) / 2, (shot.height() - over.height()) / 3,
                       over);
    painter.end();
    const bool ok = shot.save(file);
    std::printf("%s%s\n", qPrintable(file), ok ? "" : " (failed)");
    return ok;
}

QMessageBox* alert(kelvane::KelvaneApp& app) {
    return app.window().content()->openDialog();
}

// Presses the alert's button of `role` and lets the event loop run.
void press(kelvane::KelvaneApp& app, QMessageBox::ButtonRole role) {
    QMessageBox* box = alert(app);
    if (box == nullptr) return;
    for (QAbstractButton* button : box->buttons()) {
        if (box->buttonRole(button) == role) {
            button->click();
            break;
        }
    }
    runUntil([] { return false; }, 200);
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

    const auto [cachesID, caches] = demoCaches(model);
    model.setSelectedID(cachesID);
    settle();
    open(caches);
    std::set<std::string> chosen;
    for (std::size_t i = 1; i < model.entries().size() && chosen.size() < 2; ++i)
        chosen.insert(model.entries()[i].path);
    model.setEntrySelection(chosen);
    runUntil([] { return false; }, 200);
    ok = save(window, out + "/detail-selection.png") && ok;

    // The two confirmations deleting the selection asks for.
    const std::vector<std::string> selected(chosen.begin(), chosen.end());
    for (const bool permanent : {false, true}) {
        model.confirmDelete(selected, permanent);
        runUntil([&] { return alert(app) != nullptr; }, 2000);
        if (QMessageBox* box = alert(app)) {
            ok = saveWithDialog(
                     window, *box,
                     out + (permanent ? "/confirm-permanent.png" : "/detail-confirmation.png")) &&
                 ok;
            press(app, QMessageBox::RejectRole);
        }
    }

    open(caches + "/com.example.locked");
    ok = save(window, out + "/detail-unreadable.png") && ok;
    return ok;
}

// What deleting reports: a notice of items that could not be deleted, the
// administrator's confirmation (only for a user other than root, over a demo
// home made with --owner), and the folder chooser. Deletes from the demo home.
bool saveDialogScenes(kelvane::KelvaneApp& app, const QString& out) {
    kelvane::AppModel& model = app.model();
    QWidget& window = app.window();
    const auto settle = [&] {
        runUntil([&] { return alert(app) != nullptr && !model.busyMessage(); }, 20000);
    };
    bool ok = true;
    const auto [cachesID, caches] = demoCaches(model);
    const std::string legacy = caches + "/com.example.legacy";
    model.setSelectedID(cachesID);
    model.setBrowserPath(legacy);
    model.loadEntries();
    // One item that is there and one that went away since it was listed.
    model.confirmDelete({legacy + "/caf\xe9.dat", legacy + "/caf\xe9-gone.dat"}, true);
    runUntil([&] { return alert(app) != nullptr; }, 2000);
    press(app, QMessageBox::DestructiveRole);
    settle();
    if (QMessageBox* box = alert(app)) {
        ok = saveWithDialog(window, *box, out + "/notice-failure.png") && ok;
        press(app, QMessageBox::AcceptRole);
    }

    const std::string shared = caches + "/com.example.system-owned";
    if (std::filesystem::exists(shared) && ::access(shared.c_str(), W_OK) != 0) {
        model.confirmDelete({shared + "/shared.db"}, true);
        runUntil([&] { return alert(app) != nullptr; }, 2000);
        press(app, QMessageBox::DestructiveRole);
        settle();
        if (QMessageBox* box = alert(app)) {
            ok = saveWithDialog(window, *box, out + "/confirm-administrator.png") && ok;
            press(app, QMessageBox::RejectRole);
        }
    }

    // The chooser runs its own event loop: grab it from inside that loop.
    QTimer::singleShot(1500, [&] {
        if (auto* chooser = qobject_cast<QFileDialog*>(QApplication::activeModalWidget())) {
            ok = saveWithDialog(window, *chooser, out + "/folder-chooser.png") && ok;
            chooser->reject();
        }
    });
    model.addCustomFolder();
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
    bool listSnapshots = false;
    bool maps = false;
    std::string savedScan;
    for (int i = 2; i < argc; ++i) {
        const QString arg = QString::fromLocal8Bit(argv[i]);
        if (arg == QStringLiteral("--open") && i + 1 < argc) {
            savedScan = argv[++i];
        } else if (arg == QStringLiteral("--list-snapshots")) {
            listSnapshots = true;
        } else if (arg == QStringLiteral("--dark")) {
            dark = true;
        } else if (arg == QStringLiteral("--map")) {
            maps = true;
        } else {
            ids << arg;
        }
    }
    const bool defaultScenes = ids.isEmpty() && savedScan.empty();
    if (dark) useDarkPalette();
    // Besides the usual screens: several roots of one name ("Caches" of
    // each container) and a category with nothing on this machine.
    kelvane::KelvaneApp app;
    if (defaultScenes) {
        // The rows this home lists: the other platform's only where the demo has them.
        for (const char* id : {"user_caches", "dot_cache", "derived_data", "trash", "snapshots",
                               "sim_runtimes", "container_caches", "system_caches"}) {
            for (const kelvane::CleanCategory& c : app.model().categories()) {
                if (c.id == id) ids << QString::fromLatin1(id);
            }
        }
    }
    kelvane::MainWindow& window = app.window();
    window.resize(1180, 760);
    window.show();
    // Catch the launch scan early, while rows still grow.
    runUntil([] { return false; }, 150);
    bool ok = save(window, out + "/scanning.png");
    runUntil([&] { return app.model().scanTasks().empty(); }, 60000);
    // The card of what grew is computed once the measurements are recorded.
    runUntil(
        [&] {
            return (!app.model().historyAvailable() || app.model().historyRead()) &&
                   kelvane::runningTaskCount() == 0;
        },
        20000);
    runUntil([] { return false; }, 300);
    ok = save(window, out + "/overview.png") && ok;
    for (const QString& id : ids) {
        app.model().setSelectedID(id.toStdString());
        // The window asks for a tool screen's list once the selection has
        // reached it, and the list arrives in a step after its task ends.
        runUntil([] { return false; }, 300);
        runUntil(
            [&] {
                const kelvane::AppModel& model = app.model();
                return !model.entriesLoading() && !model.runtimesLoading() &&
                       !model.snapshotsLoading() && kelvane::runningTaskCount() == 0;
            },
            20000);
        ok = save(window, out + "/" + id + ".png") && ok;
        if (id == QStringLiteral("snapshots") && listSnapshots) {
            // As "管理者権限で一覧を取得" would: the helper, through pkexec.
            app.model().loadSnapshotsAsAdmin();
            runUntil(
                [&] { return !app.model().snapshotsLoading() && kelvane::runningTaskCount() == 0; },
                20000);
            ok = save(window, out + "/snapshots-listed.png") && ok;
        }
        auto* detail =
            qobject_cast<kelvane::CategoryDetailView*>(window.content()->router()->current());
        if (maps && detail != nullptr) {
            detail->layoutSwitch().mapButton()->click();
            runUntil([] { return false; }, 300);  // let sizes that land be drawn
            ok = save(window, out + "/" + id + "-map.png") && ok;
            detail->layoutSwitch().listButton()->click();
        }
    }
    if (!savedScan.empty()) {
        app.model().openSavedScan(savedScan);
        runUntil([&] { return !app.model().busyMessage() && kelvane::runningTaskCount() == 0; },
                 20000);
        runUntil([] { return false; }, 300);
        ok = save(window, out + "/saved-scan.png") && ok;
        auto* detail =
            qobject_cast<kelvane::CategoryDetailView*>(window.content()->router()->current());
        if (maps && detail != nullptr) {
            detail->layoutSwitch().mapButton()->click();
            runUntil([] { return false; }, 300);
            ok = save(window, out + "/saved-scan-map.png") && ok;
        }
    }
    if (defaultScenes && std::filesystem::exists(app.model().home() + "/.kelvane-demo-home")) {
        ok = saveDetailScenes(app, out) && ok;
        ok = saveDialogScenes(app, out) && ok;
    }
    return ok ? 0 : 1;
}
