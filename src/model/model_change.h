#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace kelvane {

// The observed fields of AppModel.
enum class ModelField {
    categories,
    states,
    selectedID,
    disk,
    log,
    browserPath,
    entries,
    entriesLoading,
    entriesError,
    entrySelection,
    snapshots,
    snapshotsLoading,
    runtimes,
    runtimesLoading,
    pendingAction,
    busyMessage,
    busyProgress,
    notice,
    scanTasks,
    entriesTask,
    growth,  // the card, the browser's changes, the comparison point
    recordHistory,
    browserSort,
};

// One notification. `key` names the one category whose state changed (for
// `states`); `row` the one entry whose size changed (for `entries`). Both
// absent mean the whole field may have changed, so lists can update one row
// instead of resetting.
struct ModelChange {
    ModelField field;
    std::optional<std::string> key;
    std::optional<std::size_t> row;
};

}  // namespace kelvane
