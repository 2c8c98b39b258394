#include "ui/browser/browser_navigation.h"

#include <set>

#include "model/app_model.h"

namespace kelvane::BrowserNavigation {

void open(AppModel& model, std::optional<std::string> folder) {
    model.setBrowserPath(std::move(folder));
    model.setEntrySelection({});
    model.loadEntries();
}

std::vector<std::string> targets(const AppModel& model, const std::string& path) {
    if (model.entrySelection().count(path) != 0) return selection(model);
    return {path};
}

std::vector<std::string> selection(const AppModel& model) {
    // In the order of the list, so a confirmation names the items the way
    // the user sees them, not in the order the selection set keeps them.
    const auto& selected = model.entrySelection();
    std::vector<std::string> paths;
    paths.reserve(selected.size());
    for (const Entry& entry : model.entries()) {
        if (selected.count(entry.path) != 0) paths.push_back(entry.path);
    }
    // Anything selected but no longer listed still goes last.
    if (paths.size() < selected.size()) {
        const std::set<std::string> listed(paths.begin(), paths.end());
        for (const std::string& path : selected) {
            if (listed.count(path) == 0) paths.push_back(path);
        }
    }
    return paths;
}

}  // namespace kelvane::BrowserNavigation
