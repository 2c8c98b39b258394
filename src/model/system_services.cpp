#include "model/services.h"
#include "system/cleaner.h"
#include "system/shell.h"
#include "system/sim_tools.h"
#include "system/snapshot_tools.h"

namespace kelvane {

std::vector<std::string> SystemServices::listSnapshots() {
    return SnapshotTools::list();
}

ShellResult SystemServices::deleteSnapshots(const std::vector<std::string>& dates) {
    return SnapshotTools::deleteSnapshot(dates);
}

std::vector<SimRuntime> SystemServices::listRuntimes() {
    return SimTools::listRuntimes();
}

ShellResult SystemServices::run(const std::string& executable,
                                const std::vector<std::string>& arguments) {
    return Shell::run(executable, arguments);
}

AdminDeleteResult SystemServices::deleteAsAdmin(const std::vector<std::string>& paths) {
    return Cleaner::deleteAsAdmin(paths);
}

}  // namespace kelvane
