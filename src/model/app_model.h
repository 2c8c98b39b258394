#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include "core/category_state.h"
#include "core/clean_category.h"
#include "core/disk_info.h"
#include "core/entry.h"
#include "core/home_volume.h"
#include "core/local_snapshot.h"
#include "core/log_entry.h"
#include "core/pending_action.h"
#include "core/sim_runtime.h"
#include "model/history_keeper.h"
#include "model/model_change.h"
#include "model/services.h"
#include "model/tasks.h"
#include "scan/export_walk.h"
#include "scan/exported_tree.h"
#include "scan/scan_limiter.h"
#include "scan/scanner.h"
#include "scan/size_store.h"
#include "system/admin_delete_result.h"
#include "system/delete_outcome.h"
#include "system/deletion_progress.h"

namespace kelvane {

// What the model is built over. The defaults are the real machine; tests pass
// their own home folder, catalog and disk reader.
struct ModelEnvironment {
    std::string home;
    // The files folder of the home trash: what lies directly or deeper in it
    // is already in the Trash and can only be deleted for good.
    std::string trashFiles;
    std::vector<CleanCategory> categories;
    std::function<std::optional<DiskInfo>()> readDisk;
    // The home folder's own volume when it is not the root's; may be empty.
    std::function<std::optional<HomeVolume>()> readHomeVolume;
    // Where measurements are remembered between launches; empty: nowhere.
    std::string historyFolder;
    // Whether finished measurements are recorded (the window keeps the setting).
    bool recordHistory = true;
    // The time now, in seconds since the epoch; the real clock when unset.
    std::function<std::int64_t()> clock;

    static ModelEnvironment real();
};

// How far the long work behind the busy message has come, for the busy
// overlay: a line of counts, the share done when it can be told, and whether
// the work can still be stopped.
struct BusyProgress {
    std::string text;
    std::optional<double> fraction;  // 0 to 1
    bool stopping = false;           // "停止" was pressed; the work ends at the next file
    bool stoppable = true;           // whether "停止" is offered at all
    friend bool operator==(const BusyProgress&, const BusyProgress&) = default;
};

// The order of the folder browser's items.
enum class BrowserSort { size, growth };

// One step of the breadcrumb trail; an absent path stands for "all roots".
struct Crumb {
    std::string label;
    std::optional<std::string> path;
    friend bool operator==(const Crumb&, const Crumb&) = default;
};

// The whole state of the running application and every operation on it. Lives
// on the main thread: every field is read and written there, every operation
// is called there. Background work holds the model weakly and comes back
// through the main queue; the size store and the scan limiter are the only
// pieces it touches directly, and they guard themselves.
class AppModel : public std::enable_shared_from_this<AppModel> {
  public:
    using Observer = std::function<void(const ModelChange&)>;

    static std::shared_ptr<AppModel> create(
        std::shared_ptr<MainQueue> mainQueue, std::shared_ptr<Services> services,
        ModelEnvironment environment = ModelEnvironment::real());
    AppModel(const AppModel&) = delete;
    AppModel& operator=(const AppModel&) = delete;
    ~AppModel();

    // --- observation ---
    int subscribe(Observer observer);
    void unsubscribe(int token);

    // --- fields (read) ---
    const std::vector<CleanCategory>& categories() const { return categories_; }
    const std::unordered_map<std::string, CategoryState>& states() const { return states_; }
    const std::optional<std::string>& selectedID() const { return selectedID_; }
    const std::optional<DiskInfo>& disk() const { return disk_; }
    // The home folder's volume when it is another file system than "/";
    // re-read with `disk`, and announced as a change of `disk`.
    const std::optional<HomeVolume>& homeVolume() const { return homeVolume_; }
    const std::vector<LogEntry>& log() const { return log_; }
    const std::optional<std::string>& browserPath() const { return browserPath_; }
    const std::vector<Entry>& entries() const { return entries_; }
    bool entriesLoading() const { return entriesLoading_; }
    const std::optional<std::string>& entriesError() const { return entriesError_; }
    const std::set<std::string>& entrySelection() const { return entrySelection_; }
    const std::vector<LocalSnapshot>& snapshots() const { return snapshots_; }
    // Snapshots may exist that only the administrator can list.
    bool snapshotsNeedAdministrator() const { return snapshotsNeedAdministrator_; }
    bool snapshotsLoading() const { return snapshotsLoading_; }
    const std::vector<SimRuntime>& runtimes() const { return runtimes_; }
    bool runtimesLoading() const { return runtimesLoading_; }
    const std::optional<PendingAction>& pendingAction() const { return pendingAction_; }
    const std::optional<std::string>& busyMessage() const { return busyMessage_; }
    // Present while a deletion of the user's own runs: it can be stopped.
    const std::optional<BusyProgress>& busyProgress() const { return busyProgress_; }
    const std::optional<std::string>& notice() const { return notice_; }
    SizeStore& store() const { return *store_; }
    ScanLimiter& limiter() const { return *limiter_; }
    const std::map<std::string, TaskHandle>& scanTasks() const { return scanTasks_; }
    const std::optional<TaskHandle>& entriesTask() const { return entriesTask_; }
    const std::string& home() const { return env_.home; }

    // --- plain selection fields the views write ---
    void setSelectedID(std::optional<std::string> value);
    void setBrowserPath(std::optional<std::string> value);
    void setEntrySelection(std::set<std::string> value);
    void setDisk(std::optional<DiskInfo> value);
    void setPendingAction(std::optional<PendingAction> value);
    void setNotice(std::optional<std::string> value);
    // Reads the volume capacity afresh into `disk` (the overview's "更新").
    void refreshDisk();

    // --- state and launch ---
    void startInitialScan();
    void addLog(const std::string& message, bool error);
    CategoryState state(const std::string& id) const;
    std::optional<CleanCategory> selectedCategory() const;

    // --- scans ---
    void scan(const CleanCategory& category);
    void scanAll();
    void refreshCategorySizes();

    // --- folder browsing ---
    void didChangeSelection();
    void loadEntries();
    void goUp();
    bool canGoUp() const;
    std::vector<Crumb> crumbs() const;
    std::vector<Entry> selectedEntries() const;
    std::int64_t selectedBytes() const;
    void reveal(const std::vector<std::string>& paths);

    // --- custom folders ---
    void addCustomFolder();
    // Adds `path` (absolute) as a user-added folder and selects it, as the
    // chooser does: a folder handed over by the file manager. Anything that
    // is not a folder gets a notice saying so.
    void addFolder(const std::string& path);
    // Takes a user-added folder or an opened scan out of the sidebar.
    void removeCustomFolder(const CleanCategory& category);

    // --- scans saved to a file (ncdu's export format) ---
    // "スキャン結果を開く…": the chooser, then openSavedScan.
    void chooseSavedScan();
    // Reads the export at `file` off the main thread, with progress, and shows
    // it as a read-only category, selected. A file that cannot be read gives a
    // notice and changes nothing else. Opening a file again reads it afresh.
    void openSavedScan(const std::string& file);
    // What the command line or the file manager hands over: a folder is added
    // as addFolder does, anything else is opened as a saved scan.
    void openPath(const std::string& path);
    bool isSavedScan(const std::string& id) const;
    // The tree of an opened scan; null for any other category.
    std::shared_ptr<const ExportedTree> savedScan(const std::string& id) const;
    // Why nothing of the category can be deleted or shown in the file manager
    // from here; nothing when it can.
    std::optional<std::string> readOnlyReason(const std::string& id) const;
    // "スキャン結果を書き出す…": walks the category's roots afresh and writes
    // the export to a file the user chooses, with progress and "停止".
    void exportCategory(const CleanCategory& category);
    // The folders one level below `path` with their sizes, as the selected
    // category knows them: from its saved scan, or from the size store.
    std::vector<std::pair<std::string, std::int64_t>> knownChildren(const std::string& path) const;

    // --- history ---
    // What grew since the chosen point: the overview's card. Empty until the
    // history has been read (`historyRead`).
    const GrowthReport& growth() const { return growth_; }
    bool historyRead() const { return historyRead_; }
    bool historyAvailable() const { return historyKeeper_ != nullptr; }
    ComparisonPoint comparisonPoint() const { return comparison_; }
    void setComparisonPoint(ComparisonPoint point);
    // How `path` of the selected category changed since the chosen point;
    // null where the history knows nothing of it.
    const PlaceChange* growthOf(const std::string& path) const;
    bool recordHistory() const { return recordHistory_; }
    void setRecordHistory(bool on);
    // "履歴を消去…": asks first, then forgets every measurement.
    void confirmClearHistory();
    // A row of the card: its category, opened at its folder.
    void openGrowthRow(const GrowthRow& row);
    BrowserSort browserSort() const { return browserSort_; }
    void setBrowserSort(BrowserSort sort);
    // At quit: records what still waits for a walk to end (unless that walk
    // is measuring its folders again) and gives the writes under way up to
    // `patience` to reach their files.
    void finishRecording(std::chrono::milliseconds patience);

    // --- deletion ---
    void confirmDelete(const std::vector<std::string>& paths, bool permanent);
    void confirmCleanCategory(const CleanCategory& category, bool permanent);
    void confirmQuickClean(const std::vector<std::string>& ids);
    // "停止" on the busy overlay: every deletion under way ends before its
    // next file and reports what it did; an export under way ends and its
    // unfinished file is removed.
    void stopBusyWork();

    // --- snapshots and runtimes ---
    void loadSnapshots();
    // Lists through the administrator helper (one password prompt).
    void loadSnapshotsAsAdmin();
    void loadRuntimes();
    void confirmDeleteSnapshots(const std::vector<LocalSnapshot>& snapshots);
    // One Flatpak runtime or Snap revision, removed by its own tool.
    void confirmDeleteRuntime(const SimRuntime& runtime);
    // The overview's "unavailable" tool: on Linux, every Flatpak runtime no
    // app uses (`flatpak uninstall --unused`, both installations).
    void confirmDeleteUnavailableSims();

    // How a snapshot is named in confirmations and reports: its date, who
    // made it and its description.
    static std::string snapshotLabel(const LocalSnapshot& snapshot);

    // The display order of the browser: biggest first, unknown sizes last,
    // ties kept in listing order.
    static void sortForDisplay(std::vector<Entry>& entries);

  private:
    AppModel(std::shared_ptr<MainQueue> mainQueue, std::shared_ptr<Services> services,
             ModelEnvironment environment);
    void finishConstruction();

    void setBusyMessage(std::optional<std::string> value);
    void setEntriesLoading(bool value);
    void setEntriesError(std::optional<std::string> value);
    void setEntries(std::vector<Entry> value);
    // Sets an equatable field; an equal value is no change and tells nobody.
    template <typename T>
    void assignIfChanged(T& field, T value, ModelField which) {
        if (value == field) return;
        field = std::move(value);
        notify(which);
    }
    void notify(ModelField field, std::optional<std::string> key = std::nullopt,
                std::optional<std::size_t> row = std::nullopt);
    void putState(const std::string& id, CategoryState state);
    std::int64_t sizeOfRoots(const std::vector<std::string>& roots) const;
    // Whether the store cannot tell the size of `root` just now: it holds no
    // entry for it while a scan of an enclosing folder walks it again.
    bool beingRemeasured(const std::string& root) const;
    // Whether any of `inner` is one of `outer` or lies below one.
    static bool anyInside(const std::vector<std::string>& inner,
                          const std::vector<std::string>& outer);
    // Takes a done category's total from the store, unless one of its roots
    // is being remeasured (that scan's finish takes it then).
    void refreshCategory(const std::string& id, CategoryState& s);

    // scan steps (main thread)
    void updateProgress(const std::string& id, std::int64_t bytes);
    // `walked` holds the totals of the roots this scan walked to the end;
    // `task` is the handle of the scan that finished.
    void finishScan(const std::string& id, const ScanStats& stats, bool cancelled,
                    const std::map<std::string, std::int64_t>& walked, const TaskHandle& task);

    // deletion steps
    void performDelete(const std::vector<std::string>& paths, bool permanent);
    // `deletion` is the key beginDeletion gave.
    // `counts` are the worker's last counts.
    void afterDelete(const DeleteOutcome& outcome, bool permanent, std::uint64_t deletion,
                     const DeletionCounts& counts);
    void performAdminDelete(const std::vector<std::string>& paths);
    void afterSnapshotDeletion(const std::vector<LocalSnapshot>& snapshots,
                               const SnapshotTools::Deletion& result);
    // `offered` is how many paths the administrator run was given.
    void afterAdminDelete(const AdminDeleteResult& result, std::size_t offered,
                          std::uint64_t deletion);
    // A deletion is under way from its start until its result is back on the
    // main thread. A scan whose roots overlap its paths and that runs at any
    // time in between may have counted what the deletion took away: when the
    // deletion ends (`changedDisk`), such a scan that is still running starts
    // again at its finish, and one that already finished is started again.
    std::uint64_t beginDeletion(const std::vector<std::string>& paths);
    void endDeletion(std::uint64_t deletion, bool changedDisk);
    // Takes out of entrySelection every deleted path, everything below one,
    // and every path that no longer names an item.
    void dropFromSelection(const std::vector<std::string>& deleted);
    std::int64_t sizeForDeletion(const std::string& path) const;
    // The paths a deletion may be offered for: those that are not "/", the
    // home folder or above it, or a system folder. What was left out, and
    // why, is said in the confirmation (`note`), or, when nothing is left,
    // in a notice (`notice`).
    struct Offer {
        std::vector<std::string> paths;
        std::string note;
        std::string notice;
    };
    Offer offerable(std::vector<std::string> paths) const;
    // A report from a deletion's worker (main thread).
    void showDeletionProgress(std::uint64_t deletion, const DeletionCounts& counts);
    void updateBusyProgress();
    std::vector<std::string> childrenOfRoots(const std::string& id) const;
    // Puts the entries in the browser's order and tells the views.
    void sortEntries();
    // Remembers the category's finished measurement, off the main thread.
    void recordMeasurement(const std::string& id);
    // The deleted items inside each category, kept for its next measurement.
    void noteDeleted(const std::vector<DeletedItem>& deleted);
    // Records the categories a deletion changed, as measured now; one being
    // measured again records when its walk ends.
    void recordAfterDeletion();
    // Records the categories that waited for a walk to end, and writes what
    // waited for every walk to end.
    void recordWaiting();
    // Writes the recorded measurements to their files, off the main thread.
    void saveHistory();
    // Computes the card and the selected category's changes again, off the
    // main thread; one computation at a time, the last request winning.
    // `card`: the overview's card too, not only the selected category's changes.
    void refreshGrowth(bool card = true);
    void afterGrowth(const std::vector<HistoryError>& problems, std::optional<GrowthReport> report,
                     std::optional<std::string> lookupFor, GrowthLookup lookup);
    std::int64_t now() const;
    // The listing of the browser's folder in an opened scan.
    void listSavedScan(const ExportedTree& tree);
    void afterSavedScanRead(const std::string& file, std::shared_ptr<const ExportedTree> tree,
                            CategoryState state, const std::optional<std::string>& error);
    void afterExport(const std::string& file, const ExportWalkResult& result, int openErrno);
    void scanIfPresent(const std::string& id);

    // Runs `work` off the main thread and hands its result to `then` on the
    // main thread, if the model still exists.
    template <typename Result>
    void runTool(std::function<Result(Services&)> work,
                 std::function<void(AppModel&, const Result&)> then);

    std::shared_ptr<MainQueue> main_;
    std::shared_ptr<Services> services_;
    ModelEnvironment env_;

    std::vector<CleanCategory> categories_;
    std::unordered_map<std::string, CategoryState> states_;
    std::optional<std::string> selectedID_;
    std::optional<DiskInfo> disk_;
    std::optional<HomeVolume> homeVolume_;
    std::vector<LogEntry> log_;
    std::optional<std::string> browserPath_;
    std::vector<Entry> entries_;
    bool entriesLoading_ = false;
    std::optional<std::string> entriesError_;
    std::set<std::string> entrySelection_;
    std::vector<LocalSnapshot> snapshots_;
    bool snapshotsNeedAdministrator_ = false;
    bool snapshotsLoading_ = false;
    std::vector<SimRuntime> runtimes_;
    bool runtimesLoading_ = false;
    std::optional<PendingAction> pendingAction_;
    std::optional<std::string> busyMessage_;
    std::optional<BusyProgress> busyProgress_;
    std::optional<std::string> notice_;
    std::shared_ptr<SizeStore> store_;
    std::shared_ptr<ScanLimiter> limiter_;
    std::map<std::string, TaskHandle> scanTasks_;
    std::optional<TaskHandle> entriesTask_;
    // The deletions under way: their paths, and the categories scanned over
    // those paths meanwhile.
    struct DeletionUnderWay {
        std::vector<std::string> paths;
        std::set<std::string> overlappedScans;
        // The user's own deletions: their counts and their stop.
        std::shared_ptr<DeletionProgress> progress;
        DeletionCounts counts;
        bool permanent = false;
    };
    std::map<std::uint64_t, DeletionUnderWay> deletions_;
    std::uint64_t nextDeletion_ = 1;
    // Scans that overlapped a deletion of their tree: their finish starts
    // them again instead of recording what they counted.
    std::map<std::string, TaskHandle> restartAtFinish_;
    // Opened scans by category id, and the file each was read from.
    std::map<std::string, std::shared_ptr<const ExportedTree>> savedScans_;
    // The export being written, while it runs: how far it has come, its stop.
    struct ExportUnderWay {
        std::shared_ptr<std::atomic<bool>> stop;
        std::int64_t items = 0;
        std::int64_t bytes = 0;
        std::int64_t expected = 0;  // the category's last measured total
    };
    std::optional<ExportUnderWay> exporting_;
    // The history, and what was last computed from it.
    std::shared_ptr<HistoryKeeper> historyKeeper_;
    bool recordHistory_ = true;
    bool historyRead_ = false;
    bool historyWriteFailed_ = false;  // said once in the log, not at every category
    ComparisonPoint comparison_ = ComparisonPoint::previous;
    GrowthReport growth_;
    std::optional<std::string> growthLookupFor_;
    GrowthLookup growthLookup_;
    bool growthRunning_ = false;
    bool growthAgain_ = false;
    bool cardAgain_ = false;
    std::map<std::string, std::vector<FolderSize>> deletedSinceMeasured_;
    std::set<std::string> recordWhenMeasured_;
    // Records sampled or being written on workers.
    std::shared_ptr<std::atomic<int>> recordsUnderWay_ = std::make_shared<std::atomic<int>>(0);
    bool quitting_ = false;
    bool saveWhenWalksEnd_ = false;
    BrowserSort browserSort_ = BrowserSort::size;
    // How much of the scan being opened has been read, of how much.
    std::optional<std::pair<std::uint64_t, std::uint64_t>> reading_;

    std::map<int, Observer> observers_;
    int nextObserverToken_ = 1;
};

template <typename Result>
void AppModel::runTool(std::function<Result(Services&)> work,
                       std::function<void(AppModel&, const Result&)> then) {
    startDetached(TaskPriority::userInitiated,
                  [weak = weak_from_this(), main = main_, services = services_,
                   work = std::move(work), then = std::move(then)](const TaskHandle&) {
                      Result result = work(*services);
                      main->post([weak, then, result = std::move(result)] {
                          if (const auto model = weak.lock()) then(*model, result);
                      });
                  });
}

}  // namespace kelvane
