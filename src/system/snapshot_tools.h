#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/local_snapshot.h"
#include "system/deletion_rules.h"
#include "system/shell_result.h"

namespace kelvane {

// The local snapshots that keep deleted data on this machine's volumes:
// Snapper's (every configuration), Timeshift's, and the other read-only
// Btrfs snapshots. Most of them only root may list or delete, so listing
// as the user says when the administrator is needed, and the administrator
// helper lists and deletes with narrow requests: a snapshot number of a
// Snapper configuration, a Timeshift name, or a path checked to be a
// read-only Btrfs snapshot.
namespace SnapshotTools {

// The tools, by absolute path; tests name stand-ins.
struct Programs {
    std::string snapper = "/usr/bin/snapper";
    std::string timeshift = "/usr/bin/timeshift";
    std::string btrfs = "/usr/bin/btrfs";
    std::string timeshiftConfig = "/etc/timeshift/timeshift.json";
    std::string snapperConfigs = "/etc/snapper/configs";
};

struct Listing {
    std::vector<LocalSnapshot> snapshots;
    // Some snapshots may be there that only root can list (Btrfs volumes,
    // Timeshift, Snapper configurations the user may not read).
    bool needsAdministrator = false;
};

// What the running user may list: Snapper's snapshots where its service lets
// us read them; whether anything is left that only root can list.
Listing list(const Programs& programs = {});

// Everything, as root (the administrator helper).
std::vector<LocalSnapshot> listAsRoot(const Programs& programs = {});

// Deletes one snapshot as root: through Snapper or Timeshift for theirs,
// by destroying the subvolume for another read-only Btrfs snapshot (found
// by `locator` under the deletion rules, and checked to be one). Nothing
// on success, else the tool's text or our description of why.
std::optional<std::string> deleteAsRoot(const LocalSnapshot& snapshot,
                                        DeletionRules::Locator& locator,
                                        const Programs& programs = {});

// The same for a batch, in order: what Snapper knows is asked once.
std::vector<std::optional<std::string>> deleteAllAsRoot(const std::vector<LocalSnapshot>& snapshots,
                                                        DeletionRules::Locator& locator,
                                                        const Programs& programs = {});

// The app's side of the helper, started through `elevator` (pkexec; empty:
// directly, as tests do). One password prompt each.
struct AdminListing {
    ShellResult run;  // "-128" in err: the password dialog was dismissed
    std::vector<LocalSnapshot> snapshots;
    bool elevationMissing = false;
};
AdminListing listThroughHelper(const std::string& elevator, const std::string& helper);

struct Deletion {
    ShellResult run;
    // One entry per snapshot asked for: nothing when it was deleted, else why not.
    std::vector<std::optional<std::string>> errors;
    // The list as the helper found it afterwards, so that showing it again
    // takes no second password prompt.
    std::optional<std::vector<LocalSnapshot>> after;
    bool elevationMissing = false;
};
Deletion deleteThroughHelper(const std::string& elevator, const std::string& helper,
                             const std::vector<LocalSnapshot>& snapshots);

// How the app and the helper hand snapshots to each other (JSON).
std::string encode(const std::vector<LocalSnapshot>& snapshots);
std::optional<std::vector<LocalSnapshot>> decode(std::string_view text);

// The helper's answer to a deletion: one entry per snapshot, in order
// (nothing for a deleted one), and the list afterwards.
std::string encodeResults(const std::vector<std::optional<std::string>>& errors,
                          const std::vector<LocalSnapshot>& after);
// Fills `errors` and `after` of `deletion` from the answer for `count` snapshots.
void decodeResults(std::string_view text, std::size_t count, Deletion& deletion);

}  // namespace SnapshotTools
}  // namespace kelvane
