// AppModel: starting, throttling, reporting and finishing category scans.
#include "core/catalog.h"
#include "model/app_model.h"
#include "model/file_probe.h"
#include "scan/path_glob.h"

namespace kelvane {

std::int64_t AppModel::sizeOfRoots(const std::vector<std::string>& roots) const {
    std::int64_t total = 0;
    for (const std::string& root : roots) total += store_->size(root).value_or(0);
    return total;
}

void AppModel::scan(const CleanCategory& category) {
    if (category.kind != CategoryKind::folders) return;
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
    if (roots.empty()) {
        next.status = CategoryState::Status::missing;
        putState(id, std::move(next));
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
                    if (!self.isCancelled()) walked[root] = one.bytes;
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
    const auto it = states_.find(id);
    if (it == states_.end()) return;
    // A cancelled scan records its partial result only while it is still the
    // category's current scan (the user stopped it). One that a newer scan
    // replaced stays silent — also when it ends after that newer scan, which
    // would otherwise overwrite the newer counts with its partial ones.
    if (cancelled) {
        const auto current = scanTasks_.find(id);
        if (current == scanTasks_.end() || !(current->second == task)) return;
    }
    CategoryState& s = it->second;
    s.status = CategoryState::Status::done;
    // Categories nest (the Homebrew cache lies inside the user caches): the
    // scan of an enclosing category removes our roots from the store before
    // its walk records them again. A root we walked to the end but that is
    // missing now counts what our own walk measured, rather than nothing.
    s.bytes = 0;
    for (const std::string& root : s.roots) {
        const auto mine = walked.find(root);
        s.bytes += store_->size(root).value_or(mine != walked.end() ? mine->second : 0);
    }
    s.files = stats.files;
    s.dirs = stats.dirs;
    s.unreadable = stats.unreadable;
    s.lastScan = Date::now();
    notify(ModelField::states, id);
    scanTasks_.erase(id);
    notify(ModelField::scanTasks, id);
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
    for (auto& [id, s] : states_) {
        if (s.status != CategoryState::Status::done) continue;
        const std::int64_t bytes = sizeOfRoots(s.roots);
        if (bytes == s.bytes) continue;
        s.bytes = bytes;
        notify(ModelField::states, id);
    }
}

}  // namespace kelvane
