// AppModel: the folder browser — listing in the background, measuring folders
// of unknown size, moving up and down, crumbs, the selection.
#include <algorithm>

#include "core/catalog.h"
#include "core/path_text.h"
#include "model/app_model.h"
#include "model/file_probe.h"
#include "scan/entry_lister.h"

namespace kelvane {
namespace {

constexpr const char* kUnreadableFolder = "このフォルダは読み取れません (アクセス権がありません)";

bool contains(const std::vector<std::string>& list, const std::string& value) {
    return std::find(list.begin(), list.end(), value) != list.end();
}

}  // namespace

void AppModel::sortForDisplay(std::vector<Entry>& entries) {
    std::stable_sort(entries.begin(), entries.end(), [](const Entry& a, const Entry& b) {
        return a.size.value_or(-1) > b.size.value_or(-1);
    });
}

void AppModel::didChangeSelection() {
    if (entriesTask_) entriesTask_->cancel();
    setEntries({});
    setEntrySelection({});
    setEntriesError(std::nullopt);
    const std::optional<CleanCategory> category = selectedCategory();
    if (!category) return;
    switch (category->kind) {
        case CategoryKind::snapshots:
            loadSnapshots();
            return;
        case CategoryKind::runtimes:
            loadRuntimes();
            return;
        case CategoryKind::folders:
            break;
    }
    // The browser's column shows this category's changes; the card stays as it is.
    refreshGrowth(false);
    // The state from before any scan starts: a first visit opens at the top
    // level, since the roots are not known yet.
    const CategoryState before = state(category->id);
    if (before.status == CategoryState::Status::idle) scan(*category);
    setBrowserPath(before.roots.size() == 1 ? std::optional(before.roots.front()) : std::nullopt);
    loadEntries();
}

void AppModel::loadEntries() {
    if (entriesTask_) entriesTask_->cancel();
    setEntriesError(std::nullopt);
    const std::optional<CleanCategory> category = selectedCategory();
    if (!category || category->kind != CategoryKind::folders) {
        setEntries({});
        return;
    }
    if (const auto tree = savedScan(category->id)) {
        listSavedScan(*tree);
        return;
    }
    const CategoryState current = state(category->id);
    const bool scanning = current.status == CategoryState::Status::scanning;
    setEntriesLoading(true);

    entriesTask_ = startDetached(
        TaskPriority::userInitiated,
        [weak = weak_from_this(), main = main_, store = store_, path = browserPath_,
         roots = current.roots, scanning](const TaskHandle& self) {
            std::vector<Entry> list;
            std::optional<std::string> error;
            if (path) {
                if (auto listed = EntryLister::list(*path, *store)) {
                    list = std::move(*listed);
                } else {
                    error = kUnreadableFolder;
                }
            } else {
                for (const std::string& root : roots)
                    list.push_back(EntryLister::entry(root, *store));
            }
            sortForDisplay(list);

            // Each write happens on the main thread, and only while this task
            // is still the current listing.
            const auto publish = [&](auto write) {
                main->postAndWait([&] {
                    const auto model = weak.lock();
                    if (model && !self.isCancelled()) write(*model);
                });
            };
            std::vector<std::string> unknown;
            for (const Entry& e : list) {
                if (e.isDir && !e.size) unknown.push_back(e.path);
            }
            publish([&](AppModel& model) {
                model.setEntries(std::move(list));
                if (model.browserSort_ != BrowserSort::size) model.sortEntries();
                model.setEntriesError(error);
                model.setEntriesLoading(false);
            });
            // While the category's own scan runs it will list again when done;
            // measuring now would only race it.
            if (scanning) return;

            const auto cancelled = [&self] { return self.isCancelled(); };
            for (const std::string& folder : unknown) {
                if (self.isCancelled()) return;
                const ScanStats stats = Scanner::scan(folder, *store, {}, cancelled);
                publish([&](AppModel& model) {
                    auto& entries = model.entries_;
                    const auto it = std::find_if(entries.begin(), entries.end(),
                                                 [&](const Entry& e) { return e.path == folder; });
                    if (it == entries.end()) return;
                    it->size = stats.bytes;
                    model.notify(ModelField::entries, std::nullopt,
                                 static_cast<std::size_t>(it - entries.begin()));
                });
            }
            if (unknown.empty()) return;
            publish([](AppModel& model) { model.sortEntries(); });
        });
    notify(ModelField::entriesTask);
}

void AppModel::goUp() {
    const std::optional<CleanCategory> category = selectedCategory();
    if (!category || !browserPath_) return;
    const std::vector<std::string> roots = state(category->id).roots;
    if (contains(roots, *browserPath_)) {
        if (roots.size() < 2) return;
        setBrowserPath(std::nullopt);
    } else {
        setBrowserPath(PathText::parent(*browserPath_));
    }
    setEntrySelection({});
    loadEntries();
}

bool AppModel::canGoUp() const {
    const std::optional<CleanCategory> category = selectedCategory();
    if (!category || !browserPath_) return false;
    const std::vector<std::string> roots = state(category->id).roots;
    if (contains(roots, *browserPath_)) return roots.size() > 1;
    return true;
}

std::vector<Crumb> AppModel::crumbs() const {
    std::vector<Crumb> trail;
    const std::optional<CleanCategory> category = selectedCategory();
    if (!category) return trail;
    const std::vector<std::string> roots = state(category->id).roots;
    if (roots.size() >= 2) trail.push_back({"すべての場所", std::nullopt});
    if (!browserPath_) return trail;
    const std::string& path = *browserPath_;

    const auto root = std::find_if(roots.begin(), roots.end(), [&](const std::string& r) {
        if (path == r) return true;
        if (r == "/") return !path.empty() && path.front() == '/';
        return path.size() > r.size() && path.compare(0, r.size(), r) == 0 && path[r.size()] == '/';
    });
    if (root == roots.end()) {
        trail.push_back({PathText::shortForm(path, env_.home), path});
        return trail;
    }
    trail.push_back({PathText::shortForm(*root, env_.home), *root});
    std::string running = *root;
    std::size_t start = root->size();
    while (start < path.size()) {
        const std::size_t slash = path.find('/', start);
        const std::size_t end = slash == std::string::npos ? path.size() : slash;
        if (end > start) {
            const std::string piece = path.substr(start, end - start);
            running = running == "/" ? "/" + piece : running + "/" + piece;
            trail.push_back({piece, running});
        }
        start = end + 1;
    }
    return trail;
}

std::vector<Entry> AppModel::selectedEntries() const {
    std::vector<Entry> chosen;
    for (const Entry& e : entries_) {
        if (entrySelection_.count(e.path) != 0) chosen.push_back(e);
    }
    return chosen;
}

std::int64_t AppModel::selectedBytes() const {
    // Summed in place: the footer asks on every selection change, and copying
    // the selected entries of a 100,000-item folder each time is what made
    // selecting all of them slow.
    std::int64_t total = 0;
    for (const Entry& e : entries_) {
        if (entrySelection_.count(e.path) != 0) total += e.size.value_or(0);
    }
    return total;
}

void AppModel::reveal(const std::vector<std::string>& paths) {
    if (selectedID_) {
        if (const std::optional<std::string> reason = readOnlyReason(*selectedID_)) {
            setNotice(*reason);
            return;
        }
    }
    if (paths.empty() && browserPath_) {
        services_->reveal({*browserPath_});
        return;
    }
    services_->reveal(paths);
}

}  // namespace kelvane
