#pragma once

#include <optional>
#include <string>
#include <vector>

namespace kelvane {

class AppModel;

// The browser's moves and targets that several widgets share (the list, the
// row chevron, the crumbs, the footer, the toolbar).
namespace BrowserNavigation {

// Shows `folder` (absent: the category's top level). The selection is cleared
// before the new listing starts, so nothing selected stays out of sight.
void open(AppModel& model, std::optional<std::string> folder);

// What an action on the row of `path` applies to: the whole selection when
// that row is part of it, otherwise the row alone.
std::vector<std::string> targets(const AppModel& model, const std::string& path);

// All selected paths, in the order the list shows them.
std::vector<std::string> selection(const AppModel& model);

}  // namespace BrowserNavigation
}  // namespace kelvane
