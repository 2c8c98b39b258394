#pragma once

#include <string>
#include <vector>

#include "core/sim_runtime.h"
#include "system/tool_command.h"

namespace kelvane {

// The disabled revisions of Snap packages: snapd keeps the revisions a
// refresh replaced, for `snap revert`, each as one file in its snaps folder.
namespace SnapTools {

inline constexpr const char* snapPath = "/usr/bin/snap";
inline constexpr const char* snapsFolder = "/var/lib/snapd/snaps";
inline constexpr const char* snapdSocket = "/run/snapd.socket";
inline constexpr const char* platformName = "Snap";

// The disabled revisions, largest first, sized by their NAME_REVISION.snap
// files in `folder` (0 when the file cannot be read). Empty when `snap` is
// missing or fails, and, without running it, when snapd's `socket` is not
// there: the tool then retries for two minutes before it gives up. `snap`
// may name a stand-in.
std::vector<SimRuntime> list(const std::string& snap = snapPath,
                             const std::string& folder = snapsFolder,
                             const std::string& socket = snapdSocket);

// The disabled revisions in `snap list --all --color=never --unicode=never`,
// in listing order, with no size yet.
std::vector<SimRuntime> parseDisabled(const std::string& out);

// Removes that one revision; the package's current revision stays.
ToolCommand removeCommand(const SimRuntime& revision);

}  // namespace SnapTools
}  // namespace kelvane
