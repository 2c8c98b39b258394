#pragma once

#include <optional>
#include <string>
#include <vector>

#include "core/sim_runtime.h"
#include "system/admin_delete_result.h"
#include "system/shell_result.h"
#include "system/snapshot_tools.h"

namespace kelvane {

// Everything the model needs from the desktop or from external tools, behind
// one injected interface: the Qt layer supplies the desktop half, the system
// layer the tools, and tests substitute fakes for either.
class Services {
  public:
    virtual ~Services() = default;

    // --- desktop ---
    // A modal chooser for one existing folder; its absolute path without a
    // trailing slash, or nothing when the user cancelled.
    virtual std::optional<std::string> chooseFolder() = 0;
    // A modal chooser for an export file to open; nothing when cancelled.
    virtual std::optional<std::string> chooseSavedScan() = 0;
    // A modal chooser for where to write an export, offering `suggestedName`;
    // nothing when cancelled. The user has agreed to replace a file there.
    virtual std::optional<std::string> chooseExportFile(const std::string& suggestedName) = 0;
    // Shows `paths` selected in the file manager.
    virtual void reveal(const std::vector<std::string>& paths) = 0;
    // The stored "initialSelection" default, when there is one.
    virtual std::optional<std::string> initialSelection() = 0;

    // --- tools (each blocks; the model calls them off the main thread) ---
    // Local snapshots: as the user, then through the administrator helper.
    virtual SnapshotTools::Listing listSnapshots() = 0;
    virtual SnapshotTools::AdminListing listSnapshotsAsAdmin() = 0;
    virtual SnapshotTools::Deletion deleteSnapshots(
        const std::vector<LocalSnapshot>& snapshots) = 0;
    virtual std::vector<SimRuntime> listRuntimes() = 0;
    virtual ShellResult run(const std::string& executable,
                            const std::vector<std::string>& arguments) = 0;
    virtual AdminDeleteResult deleteAsAdmin(const std::vector<std::string>& paths) = 0;
};

// The tools half backed by the real system layer; the desktop half does
// nothing, for headless use. The Qt layer derives from it and supplies the
// desktop operations.
class SystemServices : public Services {
  public:
    std::optional<std::string> chooseFolder() override { return std::nullopt; }
    std::optional<std::string> chooseSavedScan() override { return std::nullopt; }
    std::optional<std::string> chooseExportFile(const std::string&) override {
        return std::nullopt;
    }
    void reveal(const std::vector<std::string>&) override {}
    std::optional<std::string> initialSelection() override { return std::nullopt; }

    SnapshotTools::Listing listSnapshots() override;
    SnapshotTools::AdminListing listSnapshotsAsAdmin() override;
    SnapshotTools::Deletion deleteSnapshots(const std::vector<LocalSnapshot>& snapshots) override;
    std::vector<SimRuntime> listRuntimes() override;
    ShellResult run(const std::string& executable,
                    const std::vector<std::string>& arguments) override;
    AdminDeleteResult deleteAsAdmin(const std::vector<std::string>& paths) override;
};

}  // namespace kelvane
