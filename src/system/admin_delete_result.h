#pragma once

#include "system/delete_outcome.h"
#include "system/shell_result.h"

namespace kelvane {

// What one deletion with administrator rights came back with.
struct AdminDeleteResult {
    // The elevation itself. `status` is pkexec's (0 when the helper ran and
    // every path was deleted; -1 when pkexec could not be started at all);
    // `err` holds "-128" when the user dismissed the password dialog, and a
    // Japanese description when the elevation failed for another reason.
    ShellResult run;
    // One entry per given path, in the given order: what the helper reported
    // for it. A path the helper never reported on (dialog dismissed, helper
    // missing or killed) is a failure with FileError::notReported.
    DeleteOutcome outcome;
    // pkexec is not installed: nothing was started and nothing deleted.
    bool elevationMissing = false;
};

}  // namespace kelvane
