// The folder browser over one folder of 100,000 files: how long from
// loadEntries() until the list is first painted, how long the final re-sort
// takes once the unmeasured subfolders have their sizes, and what a repaint
// costs while scrolling through the whole list; then the same folder as a
// map: laying out and painting its tiles, with the measured subfolders
// nested. Headless (offscreen).
// Usage: kelvane-ui-detail-bench [FILES]   (default 100000)
#include <fcntl.h>
#include <unistd.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QScrollBar>
#include <QThread>
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <numeric>
#include <string>
#include <vector>

#include <QToolButton>
#include "model/app_model.h"
#include "model/tasks.h"
#include "ui/app/content_view.h"
#include "ui/app/detail_router.h"
#include "ui/app/kelvane_app.h"
#include "ui/app/main_window.h"
#include "ui/app/screen.h"
#include "ui/browser/browser_layout_switch.h"
#include "ui/browser/browser_navigation.h"
#include "ui/browser/category_detail_view.h"
#include "ui/browser/entry_list_model.h"
#include "ui/browser/entry_list_view.h"
#include "ui/browser/folder_map_view.h"

namespace {

using namespace kelvane;

// Calls `afterPaint` once a paint event of `watched` has been handled, so the
// times below include the painting itself.
class BenchApplication : public QApplication {
  public:
    using QApplication::QApplication;
    QObject* watched = nullptr;
    std::function<void()> afterPaint;

    bool notify(QObject* receiver, QEvent* event) override {
        const bool isPaint = event->type() == QEvent::Paint && receiver == watched;
        const bool result = QApplication::notify(receiver, event);
        if (isPaint && afterPaint) afterPaint();
        return result;
    }
};

template <typename Predicate>
bool runUntil(Predicate done, int limitMs) {
    QElapsedTimer clock;
    clock.start();
    while (!done()) {
        if (clock.elapsed() > limitMs) return false;
        QApplication::processEvents(QEventLoop::AllEvents, 5);
        QThread::usleep(200);
    }
    return true;
}

void writeFile(const std::string& path, int bytes) {
    const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    if (fd < 0) return;
    const std::string data(static_cast<std::size_t>(bytes), 'x');
    [[maybe_unused]] const auto written = ::write(fd, data.data(), data.size());
    ::close(fd);
}

// A file of `bytes` allocated but never written: big folders, made fast.
void allocateFile(const std::string& path, int bytes) {
    const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    if (fd < 0) return;
    [[maybe_unused]] const int allocated = ::posix_fallocate(fd, 0, bytes);
    ::close(fd);
}

double ms(const QElapsedTimer& clock) {
    return static_cast<double>(clock.nsecsElapsed()) / 1e6;
}

}  // namespace

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    const int files = argc > 1 ? std::max(1, std::atoi(argv[1])) : 100'000;
    constexpr int kFolders = 40;
    BenchApplication application(argc, argv);
    KelvaneApp::configureApplication();

    char pattern[] = "/tmp/kelvane-ui-bench-XXXXXX";
    if (::mkdtemp(pattern) == nullptr) return 1;
    const std::string home = pattern;
    const std::string root = home + "/many";
    std::filesystem::create_directories(root);
    for (int i = 0; i < files; ++i) writeFile(root + "/item-" + std::to_string(i), 1 + i % 3000);

    ModelEnvironment env;
    env.home = home;
    env.trashFiles = home + "/.local/share/Trash/files";
    env.categories = {CleanCategory{"many",
                                    "探索",
                                    "many",
                                    "folder",
                                    "",
                                    Risk::safe,
                                    CategoryKind::folders,
                                    {root},
                                    false,
                                    false}};
    env.readDisk = [] { return std::optional<DiskInfo>(DiskInfo{1'000'000'000, 1, 1}); };
    {
        KelvaneApp app(nullptr, env);
        QObject::disconnect(&app.window(), &MainWindow::firstShown, nullptr, nullptr);
        app.window().resize(1180, 760);
        app.window().show();
        AppModel& model = app.model();
        const auto settled = [&] {
            return model.scanTasks().empty() && runningTaskCount() == 0 && !model.entriesLoading();
        };
        model.setSelectedID("many");
        runUntil(settled, 120'000);
        model.setSelectedID(std::nullopt);
        model.setSelectedID("many");
        runUntil(settled, 120'000);
        // The screen shown now; screens replaced earlier may still await deletion.
        auto* list = app.window().content()->router()->current()->findChild<EntryListView*>();
        if (list == nullptr || model.browserPath() != root) {
            std::fprintf(stderr, "the browser did not open the folder\n");
            return 1;
        }

        // Folders the scan never saw: listed without a size, measured after
        // the first paint, then re-sorted into place.
        for (int f = 0; f < kFolders; ++f) {
            const std::string folder = root + "/folder-" + std::to_string(f);
            std::filesystem::create_directories(folder);
            // Four subfolders each, big enough for the map to nest them.
            for (int i = 0; i < 20; ++i) {
                const std::string sub = folder + "/sub-" + std::to_string(i % 4);
                std::filesystem::create_directories(sub);
                allocateFile(sub + "/f" + std::to_string(i), 64'000 * (f + 1));
            }
        }

        // Start from the category's top level, as a user walking down would.
        model.setBrowserPath(std::nullopt);
        model.loadEntries();
        runUntil(settled, 60'000);
        const int topRows = list->entries().rowCount();

        application.watched = list->viewport();
        QElapsedTimer clock;
        double firstList = -1;
        double resortStart = -1;
        double resortPainted = -1;
        double published = -1;
        QObject::connect(&list->entries(), &QAbstractItemModel::modelAboutToBeReset, [&] {
            if (published < 0) published = ms(clock);
        });
        QObject::connect(&list->entries(), &QAbstractItemModel::layoutAboutToBeChanged,
                         [&] { resortStart = ms(clock); });
        application.afterPaint = [&] {
            if (firstList < 0 && list->entries().rowCount() > topRows) firstList = ms(clock);
            if (resortStart >= 0 && resortPainted < 0) resortPainted = ms(clock);
        };
        clock.start();
        BrowserNavigation::open(model, root);
        runUntil([&] { return firstList >= 0; }, 60'000);
        // Some selection to carry through the re-sort.
        model.setEntrySelection({root + "/item-1", root + "/item-5000", root + "/folder-3"});
        runUntil([&] { return resortPainted >= 0 && runningTaskCount() == 0; }, 120'000);
        application.afterPaint = nullptr;
        const bool kept = model.entrySelection().size() == 3 &&
                          list->selectionModel()->selectedIndexes().size() == 3;

        // The model's own part of the re-sort, on the same entries.
        std::vector<Entry> copy = model.entries();
        std::reverse(copy.begin(), copy.end());
        QElapsedTimer sortClock;
        sortClock.start();
        AppModel::sortForDisplay(copy);
        const double sortMs = ms(sortClock);

        // Scrolling: jump through the whole list and repaint at each stop,
        // then page down step by step near the middle.
        QScrollBar* bar = list->verticalScrollBar();
        std::vector<double> frames;
        for (int step = 0; step <= 200; ++step) {
            bar->setValue(static_cast<int>(static_cast<long long>(bar->maximum()) * step / 200));
            QElapsedTimer frame;
            frame.start();
            QApplication::processEvents();
            list->viewport()->repaint();
            frames.push_back(ms(frame));
        }
        bar->setValue(bar->maximum() / 2);
        for (int step = 0; step < 200; ++step) {
            QElapsedTimer frame;
            frame.start();
            bar->setValue(bar->value() + bar->pageStep() / 4);
            QApplication::processEvents();
            list->viewport()->repaint();
            frames.push_back(ms(frame));
        }
        std::sort(frames.begin(), frames.end());
        const double mean =
            std::accumulate(frames.begin(), frames.end(), 0.0) / static_cast<double>(frames.size());

        QElapsedTimer selectClock;
        selectClock.start();
        list->selectAll();
        QApplication::processEvents();
        const double selectAll = ms(selectClock);

        // The map of the same listing: layout and paint, timed together and apart.
        auto* detail =
            qobject_cast<CategoryDetailView*>(app.window().content()->router()->current());
        detail->layoutSwitch().mapButton()->click();
        QApplication::processEvents();
        FolderMapView& map = detail->map();
        std::vector<double> layoutPaint;
        std::vector<double> layoutOnly;
        for (int round = 0; round < 21; ++round) {
            QElapsedTimer frame;
            frame.start();
            map.relayout();
            layoutOnly.push_back(ms(frame));
            map.repaint();
            layoutPaint.push_back(ms(frame));
        }
        std::sort(layoutPaint.begin(), layoutPaint.end());
        std::sort(layoutOnly.begin(), layoutOnly.end());
        std::size_t nested = 0;
        for (const MapTile& tile : map.tiles()) nested += tile.depth > 0;

        std::printf("rows=%d\n", list->entries().rowCount());
        std::printf("first_list_ms=%.1f\n", firstList);
        std::printf("first_list_listing_ms=%.1f\n", published);
        std::printf("first_list_ui_ms=%.1f\n", firstList - published);
        std::printf("resort_ui_ms=%.1f\n", resortPainted - resortStart);
        std::printf("resort_sort_ms=%.1f\n", sortMs);
        std::printf("resort_kept_selection=%d\n", kept ? 1 : 0);
        std::printf("all_sizes_ms=%.1f\n", resortPainted);
        std::printf("scroll_frames=%zu\n", frames.size());
        std::printf("scroll_mean_ms=%.2f\n", mean);
        std::printf("scroll_p99_ms=%.2f\n", frames[frames.size() * 99 / 100]);
        std::printf("scroll_max_ms=%.2f\n", frames.back());
        std::printf("select_all_ms=%.1f\n", selectAll);
        std::printf("map_tiles=%zu\n", map.tiles().size());
        std::printf("map_nested_tiles=%zu\n", nested);
        std::printf("map_layout_ms=%.2f\n", layoutOnly[layoutOnly.size() / 2]);
        std::printf("map_layout_paint_ms=%.2f\n", layoutPaint[layoutPaint.size() / 2]);
        runUntil([] { return runningTaskCount() == 0; }, 60'000);
    }
    std::error_code ignored;
    std::filesystem::remove_all(home, ignored);
    return 0;
}
