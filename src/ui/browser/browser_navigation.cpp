#include "ui/browser/browser_navigation.h"

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
    const auto& selected = model.entrySelection();
    return {selected.begin(), selected.end()};
}

}  // namespace kelvane::BrowserNavigation
