#pragma once

#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QElapsedTimer>
#include <QTest>
#include <QThread>

#include "../model/model_fixture.h"
#include "core/catalog.h"
#include "core/catalog_on_linux.h"
#include "core/fmt.h"
#include "model/tasks.h"
#include "ui/app/content_view.h"
#include "ui/app/detail_router.h"
#include "ui/app/kelvane_app.h"
#include "ui/app/main_window.h"

namespace kelvane::test {

// A byte count as the interface writes it.
inline QString bytes(std::int64_t n) {
    return QString::fromStdString(Fmt::bytes(n));
}

// The first visible button under `root` whose text is `text`; nullptr when none.
inline QAbstractButton* findButton(const QWidget* root, const QString& text) {
    for (QAbstractButton* button : root->findChildren<QAbstractButton*>()) {
        if (button->text() == text && button->isVisibleTo(root->window())) return button;
    }
    return nullptr;
}

// The texts of `actions` in order, a divider as "-".
inline QStringList actionTexts(const QList<QAction*>& actions) {
    QStringList texts;
    for (const QAction* action : actions) texts << (action->isSeparator() ? "-" : action->text());
    return texts;
}

// A whole application over a temporary home, with fake tools, on the real
// Qt event loop.
class UiTest : public ::testing::Test {
  protected:
    void SetUp() override {
        char pattern[] = "/tmp/kelvane-ui-XXXXXX";
        ASSERT_NE(::mkdtemp(pattern), nullptr);
        home = pattern;
        services = std::make_shared<FakeServices>();
    }

    void TearDown() override {
        if (app) {
            waitFor([] { return runningTaskCount() == 0; });
            app.reset();
        }
        std::error_code ignored;
        std::filesystem::remove_all(home, ignored);
    }

    // Builds the app over the home (unless given, the catalog's rows as Linux
    // lists them, the system's places below home + "/sys") and shows its window.
    void launch(std::optional<std::vector<CleanCategory>> categories = std::nullopt,
                bool startScan = true) {
        ModelEnvironment env;
        env.home = home;
        env.trashFiles = home + "/.local/share/Trash/files";
        env.categories = categories ? *categories
                                    : CatalogOnLinux::adapt(Catalog::build(home, home + "/tmpbase"),
                                                            {home, home + "/sys", home + "/tmp",
                                                             home + "/.local/share"});
        env.readDisk = [] {
            return std::optional<DiskInfo>(
                DiskInfo{500'000'000'000, 120'000'000'000, 120'000'000'000});
        };
        env.readHomeVolume = [this] { return homeVolumeReading; };
        env.historyFolder = historyFolder;
        if (clockNow != 0) env.clock = [this] { return clockNow; };
        app = std::make_unique<KelvaneApp>(services, env);
        if (!startScan) {
            // Keep the launch scan from starting when the window shows.
            QObject::disconnect(&app->window(), &MainWindow::firstShown, nullptr, nullptr);
        }
        app->window().resize(1180, 760);
        app->window().show();
        QApplication::processEvents();
    }

    AppModel& model() { return app->model(); }
    // Where a launch keeps its history; empty: none. The time it records, when
    // not 0 (launches a test makes fall in one second of the real clock).
    std::string historyFolder;
    std::int64_t clockNow = 0;

    // Runs the event loop until `done` holds; fails the test after 20 s.
    template <typename Predicate>
    bool waitFor(Predicate done, int limitMs = 20000) {
        QElapsedTimer clock;
        clock.start();
        while (!done()) {
            if (clock.elapsed() > limitMs) {
                ADD_FAILURE() << "condition not reached in time";
                return false;
            }
            QApplication::processEvents(QEventLoop::AllEvents, 20);
            QThread::msleep(2);
        }
        QApplication::processEvents();
        return true;
    }

    // Runs the event loop until no scan, listing or tool run is under way.
    // A listing cancelled by leaving its category never clears the loading
    // flag, so that flag only counts while a folder category is open.
    void settle() {
        waitFor([this] {
            const auto category = model().selectedCategory();
            const bool listing =
                category && category->kind == CategoryKind::folders && model().entriesLoading();
            return model().scanTasks().empty() && runningTaskCount() == 0 && !listing &&
                   !model().snapshotsLoading() && !model().runtimesLoading();
        });
    }

    // The screen the detail area shows, when it is a `View`.
    template <typename View>
    View* screen() {
        return qobject_cast<View*>(app->window().content()->router()->current());
    }

    // Selects `id` (a category or the overview) and waits for its screen to settle.
    template <typename View>
    View* open(const std::string& id) {
        model().setSelectedID(id);
        waitFor([this] { return screen<View>() != nullptr; });
        settle();
        return screen<View>();
    }

    std::string path(const std::string& relative) const { return home + "/" + relative; }

    void makeFile(const std::string& relative, std::size_t size) const {
        writeFileOfSize(path(relative), size);
    }

    std::string home;
    // What reading the home folder's own volume gives; none: home is on "/".
    std::optional<HomeVolume> homeVolumeReading;
    std::shared_ptr<FakeServices> services;
    std::unique_ptr<KelvaneApp> app;
};

}  // namespace kelvane::test
