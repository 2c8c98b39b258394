// AppModel: starting, throttling, reporting and finishing category scans.
#include <algorithm>

#include "core/catalog.h"
#include "core/path_text.h"
#include "model/app_model.h"
#include "model/file_probe.h"
#include "scan/path_glob.h"

namespace kelvane {

std::int64_t AppModel::sizeOfRoots(const std::vector<std::string>& roots) const {
    std::int64_t total = 0;
    for (const std::string& root : roots) total += store_->size(root).value_or(0);
    return total;
}

bool AppModel::anyInside(const std::vector<std::string>& inner,
                         const std::vector<std::string>& outer) {
    return std::any_of(inner.begin(), inner.end(), [&](const std::string& path) {
        return std::any_of(outer.begin(), outer.end(), [&](const std::string& root) {
            return PathText::isSameOrBelow(path, root);
        });
    });
}

bool AppModel::beingRemeasured(const std::string& root) const {
    if (store_->size(root)) return false;
    return std::any_of(states_.begin(), states_.end(), [&](const auto& entry) {
        return entry.second.status == CategoryState::Status::scanning &&
               anyInside({root}, entry.second.roots);
    });
}

void AppModel::refreshCategory(const std::string& id, CategoryState& s) {
    // An opened scan's figures are the export's: the store measures this disk.
    if (s.status != CategoryState::Status::done || isSavedScan(id)) return;
    if (std::any_of(s.roots.begin(), s.roots.end(),
                    [&](const std::string& root) { return beingRemeasured(root); })) {
        return;
    }
    const std::int64_t bytes = sizeOfRoots(s.roots);
    if (bytes == s.bytes) return;
    s.bytes = bytes;
    notify(ModelField::states, id);
}

void AppModel::scan(const CleanCategory& category) {
    if (category.kind != CategoryKind::folders || isSavedScan(category.id)) return;
    const std::string id = category.id;
    if (const auto it = scanTasks_.find(id); it != scanTasks_.end()) it->second.cancel();

    // A folder the user added is the very path they chose: its name may hold
    // "*", "?" or "[" (a folder called "proj*"), and reading it as a pattern
    // would let emptying it empty its look-alike siblings too.
    const bool literal = category.id.rfind(Catalog::kCustomPrefix, 0) == 0;
    std::vector<std::string> roots;
    for (const std::string& pattern : category.patterns) {
        std::vector<std::string> matches =
            literal ? std::vector<std::string>{pattern} : PathGlob::expand(pattern);
        for (std::string& path : matches) {
            if (FileProbe::exists(path)) roots.push_back(std::move(path));
        }
    }

    CategoryState next = state(id);
    next.roots = roots;
    next.bytes = next.files = next.dirs = next.unreadable = 0;
    restartAtFinish_.erase(id);
    if (roots.empty()) {
        next.status = CategoryState::Status::missing;
        putState(id, std::move(next));
        // No scan owns the category now; the one just cancelled must not turn
        // "missing" into a result of its own when it ends.
        if (scanTasks_.erase(id) != 0) notify(ModelField::scanTasks, id);
        recordWaiting();
        return;
    }
    next.status = CategoryState::Status::scanning;
    putState(id, std::move(next));

    // The task works on its own copies and shares the store and the limiter,
    // so it may finish after the model is gone.
    const TaskHandle handle = startDetached(
        TaskPriority::utility, [weak = weak_from_this(), main = main_, store = store_,
                                limiter = limiter_, id, roots](const TaskHandle& self) {
            ScanStats total;
            std::map<std::string, std::int64_t> walked;
            {
                ScanLimiter::Slot slot = limiter->acquire();
                const auto cancelled = [&self] { return self.isCancelled(); };
                for (const std::string& root : roots) {
                    if (self.isCancelled()) break;
                    store->removeSubtree(root);
                    const std::int64_t before = total.bytes;
                    const auto progress = [&](std::int64_t running) {
                        main->post([weak, id, bytes = before + running] {
                            if (const auto model = weak.lock()) model->updateProgress(id, bytes);
                        });
                    };
                    const ScanStats one = Scanner::scan(root, *store, progress, cancelled);
                    total.bytes += one.bytes;
                    total.files += one.files;
                    total.dirs += one.dirs;
                    total.unreadable += one.unreadable;
                    // Only a folder is recorded; a root that is a file counts nothing.
                    if (!self.isCancelled() && one.dirs > 0) walked[root] = one.bytes;
                    main->post([weak, id, bytes = total.bytes] {
                        if (const auto model = weak.lock()) model->updateProgress(id, bytes);
                    });
                }
            }  // the slot goes back here, on every path
            const bool wasCancelled = self.isCancelled();
            main->postAndWait([weak, id, total, wasCancelled, walked = std::move(walked), self] {
                if (const auto model = weak.lock()) {
                    model->finishScan(id, total, wasCancelled, walked, self);
                }
            });
        });
    scanTasks_.insert_or_assign(id, handle);
    notify(ModelField::scanTasks, id);
    for (auto& [key, deletion] : deletions_) {
        if (anyInside(deletion.paths, roots) || anyInside(roots, deletion.paths)) {
            deletion.overlappedScans.insert(id);
        }
    }
}

void AppModel::updateProgress(const std::string& id, std::int64_t bytes) {
    const auto it = states_.find(id);
    if (it == states_.end() || it->second.status != CategoryState::Status::scanning) return;
    it->second.bytes = bytes;
    notify(ModelField::states, id);
}

void AppModel::finishScan(const std::string& id, const ScanStats& stats, bool cancelled,
                          const std::map<std::string, std::int64_t>& walked,
                          const TaskHandle& task) {
    // Only the category's current scan ends it. One that a newer scan
    // replaced stays silent, also when it ends after that newer one; so does
    // one whose category went missing or was removed meanwhile. A cancelled
    // current scan is one the user stopped: it records its partial result.
    const auto it = states_.find(id);
    const auto current = scanTasks_.find(id);
    if (it == states_.end() || it->second.status != CategoryState::Status::scanning ||
        current == scanTasks_.end() || !(current->second == task)) {
        return;
    }
    if (const auto restart = restartAtFinish_.find(id);
        restart != restartAtFinish_.end() && restart->second == task) {
        restartAtFinish_.erase(restart);
        scanIfPresent(id);
        return;
    }
    CategoryState& s = it->second;
    s.status = CategoryState::Status::done;
    // A root missing from the store now, though walked to the end, was taken
    // out by the scan of an enclosing category that walks it again: it
    // counts what our walk measured until that scan's finish refreshes us.
    s.bytes = 0;
    for (const std::string& root : s.roots) {
        const auto mine = walked.find(root);
        s.bytes += store_->size(root).value_or(mine != walked.end() ? mine->second : 0);
    }
    s.files = stats.files;
    s.dirs = stats.dirs;
    s.unreadable = stats.unreadable;
    s.lastScan = Date::now();
    const std::vector<std::string> roots = s.roots;
    notify(ModelField::states, id);
    scanTasks_.erase(id);
    notify(ModelField::scanTasks, id);
    // A walk the user stopped counted only part of the category.
    if (!cancelled) recordMeasurement(id);

    // Our walk took the roots of every category inside ours out of the store
    // and recorded them again: their totals are read afresh. Some it cannot
    // have recorded: those below a symbolic link (our walk does not follow
    // one), and, when the user stopped it, those it did not reach. Such a
    // category is measured again. (Only below our own roots when we were not
    // stopped: two categories whose walks both leave the same root
    // unrecorded must not start each other forever.)
    const auto unmeasured = [&](const std::string& root) {
        return !store_->size(root) && FileProbe::isFolder(root) && anyInside({root}, roots) &&
               (cancelled || std::find(roots.begin(), roots.end(), root) == roots.end());
    };
    std::vector<std::string> again;
    for (auto& [other, inner] : states_) {
        if (other == id || inner.status != CategoryState::Status::done ||
            !anyInside(inner.roots, roots)) {
            continue;
        }
        if (std::any_of(inner.roots.begin(), inner.roots.end(), unmeasured)) {
            again.push_back(other);
        } else {
            refreshCategory(other, inner);
        }
    }
    for (const std::string& other : again) scanIfPresent(other);
    recordWaiting();
    if (selectedID_ == id) loadEntries();
}

void AppModel::scanAll() {
    const std::vector<CleanCategory> categories = categories_;
    for (const CleanCategory& category : categories) {
        if (category.kind != CategoryKind::folders) continue;
        if (category.scanOnLaunch || state(category.id).status == CategoryState::Status::done) {
            scan(category);
        }
    }
    refreshDisk();
}

void AppModel::refreshCategorySizes() {
    for (auto& [id, s] : states_) refreshCategory(id, s);
}

}  // namespace kelvane
