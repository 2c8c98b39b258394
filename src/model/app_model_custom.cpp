// AppModel: folders the user adds for as long as the application runs.
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>

#include "core/catalog.h"
#include "core/path_text.h"
#include "model/app_model.h"
#include "system/error_text.h"

namespace kelvane {

void AppModel::addCustomFolder() {
    const std::optional<std::string> chosen = services_->chooseFolder();
    if (!chosen || chosen->empty()) return;
    addFolder(*chosen);
}

void AppModel::addFolder(const std::string& path) {
    struct stat item {};
    if (::stat(path.c_str(), &item) != 0) {
        setNotice("フォルダとして開けませんでした: " + path + "\n" + ErrorText::posix(errno));
        return;
    }
    if (!S_ISDIR(item.st_mode)) {
        setNotice("フォルダとして開けませんでした: " + path + "\nフォルダではありません");
        return;
    }
    const std::string id = Catalog::kCustomPrefix + path;

    const auto existing = [&] {
        return std::find_if(categories_.begin(), categories_.end(),
                            [&](const CleanCategory& c) { return c.id == id; });
    };
    if (existing() == categories_.end()) {
        categories_.push_back(CleanCategory{id,
                                            "探索",
                                            PathText::shortForm(path, env_.home),
                                            "folder.badge.plus",
                                            "手動で追加したフォルダ: " + path,
                                            Risk::caution,
                                            CategoryKind::folders,
                                            {path},
                                            false,
                                            false});
        notify(ModelField::categories);
        putState(id, CategoryState{});
    }
    // The scan starts before the selection changes: the window opens the
    // selected category at once, and it must find this folder being measured
    // as the one root (and open it) rather than start a scan of its own.
    const CleanCategory category = *existing();
    scan(category);
    setSelectedID(id);
}

void AppModel::removeCustomFolder(const CleanCategory& category) {
    // A copy: the caller may pass one of our own categories, which the
    // erase below destroys.
    const std::string id = category.id;
    if (id.rfind(Catalog::kCustomPrefix, 0) != 0 && !isSavedScan(id)) return;
    savedScans_.erase(id);
    if (const auto it = scanTasks_.find(id); it != scanTasks_.end()) it->second.cancel();
    restartAtFinish_.erase(id);
    const auto removed = std::remove_if(categories_.begin(), categories_.end(),
                                        [&](const CleanCategory& c) { return c.id == id; });
    if (removed != categories_.end()) {
        categories_.erase(removed, categories_.end());
        notify(ModelField::categories);
    }
    if (states_.erase(id) != 0) notify(ModelField::states, id);
    recordWhenMeasured_.erase(id);
    deletedSinceMeasured_.erase(id);
    recordWaiting();  // its walk may have been the last one running
    if (selectedID_ == id) setSelectedID(std::string(Catalog::kOverviewID));
}

}  // namespace kelvane
