// AppModel: the measurement history — recording each finished measurement,
// and what grew since a point in time, for the overview's card and the
// browser's column.
#include <algorithm>
#include <ctime>
#include <thread>

#include "core/catalog.h"
#include "core/fmt.h"
#include "core/path_text.h"
#include "model/app_model.h"
#include "scan/history_sample.h"

namespace kelvane {
namespace {

// Rows of the overview's card.
constexpr std::size_t kCardRows = 8;

}  // namespace

std::int64_t AppModel::now() const {
    return env_.clock ? env_.clock() : static_cast<std::int64_t>(std::time(nullptr));
}

void AppModel::setComparisonPoint(ComparisonPoint point) {
    if (point == comparison_) return;
    comparison_ = point;
    notify(ModelField::growth);
    refreshGrowth();
}

void AppModel::setRecordHistory(bool on) {
    assignIfChanged(recordHistory_, on, ModelField::recordHistory);
}

void AppModel::setBrowserSort(BrowserSort sort) {
    if (sort == browserSort_) return;
    browserSort_ = sort;
    notify(ModelField::browserSort);
    sortEntries();
}

const PlaceChange* AppModel::growthOf(const std::string& path) const {
    if (!selectedID_ || growthLookupFor_ != selectedID_) return nullptr;
    return growthLookup_.find(path);
}

void AppModel::sortEntries() {
    if (browserSort_ == BrowserSort::growth) {
        // Growth first, then shrinking; places the history does not know keep
        // their order by size after them.
        sortForDisplay(entries_);
        std::stable_sort(entries_.begin(), entries_.end(), [&](const Entry& a, const Entry& b) {
            const PlaceChange* x = growthOf(a.path);
            const PlaceChange* y = growthOf(b.path);
            if (!x || !y) return x && !y;
            return x->net() > y->net();
        });
    } else {
        sortForDisplay(entries_);
    }
    notify(ModelField::entries);
}

void AppModel::noteDeleted(const std::vector<DeletedItem>& deleted) {
    for (const CleanCategory& category : categories_) {
        if (isSavedScan(category.id)) continue;
        const std::vector<std::string>& roots = state(category.id).roots;
        for (const DeletedItem& item : deleted) {
            if (anyInside({item.path}, roots))
                deletedSinceMeasured_[category.id].push_back({item.path, item.size});
        }
    }
}

void AppModel::finishRecording(std::chrono::milliseconds patience) {
    if (!historyKeeper_) return;
    quitting_ = true;
    recordWaiting();
    const auto until = std::chrono::steady_clock::now() + patience;
    while (recordsUnderWay_->load() > 0 && std::chrono::steady_clock::now() < until) {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    // Walks still running or not, what was recorded goes to the files now.
    if (recordsUnderWay_->load() == 0) historyKeeper_->save();
}

void AppModel::recordWaiting() {
    const std::set<std::string> waiting = recordWhenMeasured_;
    for (const std::string& id : waiting) recordMeasurement(id);
    if (saveWhenWalksEnd_) saveHistory();
}

void AppModel::recordAfterDeletion() {
    std::vector<std::string> changed;
    for (const auto& [id, deleted] : deletedSinceMeasured_) changed.push_back(id);
    for (const std::string& id : changed) recordMeasurement(id);
}

void AppModel::recordMeasurement(const std::string& id) {
    if (!historyKeeper_ || !recordHistory_ || isSavedScan(id)) return;
    const CategoryState s = state(id);
    if (s.status != CategoryState::Status::done || s.roots.empty()) return;
    // While the walk of an enclosing category measures our roots again, the
    // store holds none of their folders: sampled now, every one would seem gone.
    const bool waitForWalks =
        std::any_of(s.roots.begin(), s.roots.end(),
                    [&](const std::string& root) { return beingRemeasured(root); });
    if (waitForWalks) {
        recordWhenMeasured_.insert(id);
        return;
    }
    recordWhenMeasured_.erase(id);
    Measurement measured;
    measured.time = now();
    measured.total = s.bytes;
    if (const auto it = deletedSinceMeasured_.find(id); it != deletedSinceMeasured_.end()) {
        measured.deleted = std::move(it->second);
        deletedSinceMeasured_.erase(it);
        std::sort(measured.deleted.begin(), measured.deleted.end(),
                  [](const FolderSize& a, const FolderSize& b) { return a.path < b.path; });
    }
    // The roots the store has figures for now; a worker finding one of them gone
    // has met an enclosing walk that began meanwhile.
    std::vector<std::string> measuredRoots;
    for (const std::string& root : s.roots) {
        if (store_->size(root)) measuredRoots.push_back(root);
    }
    // The folders are read from the store on the worker: a category of 2,000
    // folders is a few milliseconds the main thread does not spend.
    recordsUnderWay_->fetch_add(1);
    startDetached(
        TaskPriority::utility,
        [weak = weak_from_this(), main = main_, store = store_, keeper = historyKeeper_, id,
         roots = s.roots, measuredRoots = std::move(measuredRoots), measured = std::move(measured),
         underWay = recordsUnderWay_](const TaskHandle&) mutable {
            struct Done {
                std::atomic<int>& count;
                ~Done() { count.fetch_sub(1); }
            } done{*underWay};
            HistorySample::Sample sample = HistorySample::take(*store, roots);
            const bool intact =
                std::all_of(measuredRoots.begin(), measuredRoots.end(),
                            [&](const std::string& root) { return store->size(root).has_value(); });
            if (!intact) {
                // Back to the main thread, which waits for that walk to end.
                main->post([weak, id, deleted = std::move(measured.deleted)]() mutable {
                    const auto model = weak.lock();
                    if (!model) return;
                    auto& waiting = model->deletedSinceMeasured_[id];
                    waiting.insert(waiting.end(), deleted.begin(), deleted.end());
                    model->recordMeasurement(id);
                });
                return;
            }
            measured.folders = std::move(sample.folders);
            measured.cutoff = sample.cutoff;
            keeper->record(id, measured, measured.time);
            main->post([weak] {
                if (const auto model = weak.lock()) {
                    model->saveHistory();
                    model->refreshGrowth();
                }
            });
        });
}

void AppModel::saveHistory() {
    // Files are written once no walk runs: a flush to the disk in the middle of
    // the launch scan costs it more than the whole recording does.
    if (std::any_of(states_.begin(), states_.end(), [](const auto& entry) {
            return entry.second.status == CategoryState::Status::scanning;
        })) {
        saveWhenWalksEnd_ = true;
        return;
    }
    saveWhenWalksEnd_ = false;
    recordsUnderWay_->fetch_add(1);
    startDetached(TaskPriority::utility,
                  [weak = weak_from_this(), main = main_, keeper = historyKeeper_,
                   underWay = recordsUnderWay_](const TaskHandle&) {
                      const std::optional<HistoryError> error = keeper->save();
                      underWay->fetch_sub(1);
                      if (!error) return;
                      main->post([weak, error] {
                          const auto model = weak.lock();
                          if (!model || model->historyWriteFailed_) return;
                          model->historyWriteFailed_ = true;
                          model->addLog(error->message, true);
                      });
                  });
}

void AppModel::refreshGrowth(bool card) {
    if (!historyKeeper_) return;
    if (growthRunning_) {
        growthAgain_ = true;
        cardAgain_ = cardAgain_ || card;
        return;
    }
    growthRunning_ = true;
    std::vector<std::string> shown;
    for (const CleanCategory& category : categories_) {
        if (category.kind == CategoryKind::folders && !isSavedScan(category.id))
            shown.push_back(category.id);
    }
    std::optional<std::string> lookupFor;
    if (selectedID_ && std::find(shown.begin(), shown.end(), *selectedID_) != shown.end())
        lookupFor = selectedID_;
    startDetached(TaskPriority::utility, [weak = weak_from_this(), main = main_,
                                          keeper = historyKeeper_, point = comparison_,
                                          when = now(), shown = std::move(shown), lookupFor,
                                          card](const TaskHandle&) {
        std::vector<HistoryError> problems = keeper->load();
        std::optional<GrowthReport> report;
        if (card) report = keeper->report(point, when, shown, kCardRows);
        GrowthLookup lookup = lookupFor ? keeper->lookup(*lookupFor, point, when) : GrowthLookup{};
        main->post([weak, problems = std::move(problems), report = std::move(report), lookupFor,
                    lookup = std::move(lookup)]() mutable {
            if (const auto model = weak.lock())
                model->afterGrowth(problems, std::move(report), lookupFor, std::move(lookup));
        });
    });
}

void AppModel::afterGrowth(const std::vector<HistoryError>& problems,
                           std::optional<GrowthReport> report, std::optional<std::string> lookupFor,
                           GrowthLookup lookup) {
    growthRunning_ = false;
    for (const HistoryError& problem : problems) addLog(problem.message, true);
    if (growthAgain_) {
        // Something changed meanwhile (a measurement, the point, the selection); this result
        // is dropped, so the next one computes the card if this one did.
        const bool card = cardAgain_ || report.has_value();
        growthAgain_ = cardAgain_ = false;
        refreshGrowth(card);
        return;
    }
    if (report) {
        growth_ = std::move(*report);
        historyRead_ = true;
    }
    growthLookupFor_ = std::move(lookupFor);
    growthLookup_ = std::move(lookup);
    notify(ModelField::growth);
    if (browserSort_ == BrowserSort::growth) sortEntries();
}

void AppModel::confirmClearHistory() {
    if (!historyKeeper_) return;
    setPendingAction(PendingAction(
        "記録した履歴をすべて消去しますか？",
        "各カテゴリの過去のサイズの記録が消え、「増えた場所」は次回の測定から記録し直します。"
        "ファイルは削除されません。",
        "消去", [weak = weak_from_this()] {
            const auto model = weak.lock();
            if (!model) return;
            model->deletedSinceMeasured_.clear();
            startDetached(
                TaskPriority::userInitiated,
                [weak, main = model->main_, keeper = model->historyKeeper_](const TaskHandle&) {
                    const std::optional<HistoryError> error = keeper->clear();
                    main->post([weak, error] {
                        const auto m = weak.lock();
                        if (!m) return;
                        if (error) {
                            m->setNotice("履歴を消去できませんでした。\n" + error->message);
                        } else {
                            m->addLog("履歴を消去しました", false);
                        }
                        m->refreshGrowth();
                    });
                });
        }));
}

void AppModel::openGrowthRow(const GrowthRow& row) {
    setSelectedID(row.categoryID);
    if (row.path.empty()) return;
    // A folder that is gone has nothing to show: the category opens as usual.
    const CategoryState s = state(row.categoryID);
    if (!anyInside({row.path}, s.roots)) return;
    setBrowserPath(row.path);
    setEntrySelection({});
    loadEntries();
}

}  // namespace kelvane
