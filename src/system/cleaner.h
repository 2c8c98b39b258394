#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "system/delete_outcome.h"
#include "system/file_error.h"
#include "system/shell_result.h"

namespace kelvane {

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
// keyword, hence the name.)
DeleteOutcome deleteItems(const std::vector<std::string>& paths, bool permanent,
                          const std::function<std::int64_t(const std::string&)>& sizeOf);

// Removes `paths` with administrator rights by one `/bin/rm -rf` command line
// for the whole batch (one password prompt). An empty list runs nothing and
// reports status 0.
ShellResult deleteAsAdmin(const std::vector<std::string>& paths);

// The command line deleteAsAdmin runs: "/bin/rm -rf " and the quoted paths
// joined by single blanks.
std::string adminCommand(const std::vector<std::string>& paths);

// `text` in single quotes for a POSIX shell, each embedded single quote
// written as '\''. Nothing else needs escaping inside single quotes.
std::string shellQuoted(const std::string& text);

// The POSIX error number in `error` or in the errors it wraps, at any depth.
std::optional<int> underlyingErrno(const FileError& error);

}  // namespace Cleaner
}  // namespace kelvane
