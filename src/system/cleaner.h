#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "system/admin_delete_result.h"
#include "system/delete_outcome.h"
#include "system/file_error.h"

namespace kelvane {

class DeletionProgress;

// Carries out deletions for the deletion flows. Holds no state and shows
// nothing: wording, logging and the offer to retry as administrator belong to
// the model.
namespace Cleaner {

// The full paths of the immediate children of `folder` (hidden ones included,
// in directory order, unsorted); empty when the folder cannot be listed. The
// children of "/" are "/name".
std::vector<std::string> contents(const std::string& folder);

// Deletes `paths` one by one, in order: to the trash when `permanent` is false,
// otherwise removed for good (a folder with everything in it; symbolic links
// are removed, never followed). `sizeOf` is asked for each path before it is
// touched and must be safe to call from the calling thread. A failure never
// stops the batch. Blocks; call it off the main thread. (`delete` is a C++
// keyword, hence the name.) With `progress`, the work is counted there, and
// a stop asked for there ends it before the next file: the item under way
// fails with the refusal `stopped`, the ones after it with `notStarted`.
DeleteOutcome deleteItems(const std::vector<std::string>& paths, bool permanent,
                          const std::function<std::int64_t(const std::string&)>& sizeOf,
                          DeletionProgress* progress = nullptr);

// Removes `paths` for good with administrator rights: pkexec starts our
// helper (kelvane-admin) once for the whole batch (one password prompt),
// hands it the paths on standard input and reads one result per path. The
// helper applies the same rules as the user's own deletion, trusting
// symbolic links of root and of the user who asked. An empty list runs
// nothing and reports status 0. Blocks; call it off the main thread.
AdminDeleteResult deleteAsAdmin(const std::vector<std::string>& paths);

// deleteAsAdmin through another elevation program (called as ELEVATOR
// HELPER), or with none when `elevator` is empty (the helper then runs with
// our own rights). Tests use this.
AdminDeleteResult deleteAsAdminVia(const std::string& elevator, const std::string& helper,
                                   const std::vector<std::string>& paths);

// Where the administrator helper is: next to the running program (a build
// tree), else where the package installs it.
std::string adminHelperPath();

// The POSIX error number in `error` or in the errors it wraps, at any depth.
std::optional<int> underlyingErrno(const FileError& error);

}  // namespace Cleaner
}  // namespace kelvane
