#include <algorithm>

#include "model/services.h"
#include "system/admin_helper.h"
#include "system/cleaner.h"
#include "system/flatpak_tools.h"
#include "system/shell.h"
#include "system/snap_tools.h"
#include "system/snapshot_tools.h"

namespace kelvane {

SnapshotTools::Listing SystemServices::listSnapshots() {
    return SnapshotTools::list();
}

SnapshotTools::AdminListing SystemServices::listSnapshotsAsAdmin() {
    return SnapshotTools::listThroughHelper(AdminHelper::pkexecPath, AdminHelper::path());
}

SnapshotTools::Deletion SystemServices::deleteSnapshots(
    const std::vector<LocalSnapshot>& snapshots) {
    return SnapshotTools::deleteThroughHelper(AdminHelper::pkexecPath, AdminHelper::path(),
                                              snapshots);
}

std::vector<SimRuntime> SystemServices::listRuntimes() {
    std::vector<SimRuntime> runtimes = FlatpakTools::list();
    for (SimRuntime& revision : SnapTools::list()) runtimes.push_back(std::move(revision));
    // One list for both tools, largest first; ties keep Flatpak before Snap.
    std::stable_sort(
        runtimes.begin(), runtimes.end(),
        [](const SimRuntime& a, const SimRuntime& b) { return a.sizeBytes > b.sizeBytes; });
    return runtimes;
}

ShellResult SystemServices::run(const std::string& executable,
                                const std::vector<std::string>& arguments) {
    return Shell::run(executable, arguments);
}

AdminDeleteResult SystemServices::deleteAsAdmin(const std::vector<std::string>& paths) {
    return Cleaner::deleteAsAdmin(paths);
}

}  // namespace kelvane
