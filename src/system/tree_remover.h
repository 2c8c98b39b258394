#pragma once

#include <optional>
#include <string>

#include "system/file_error.h"

namespace kelvane {

// Removes a file, a symbolic link or a folder with everything below it.
// Works from directory descriptors (openat/unlinkat) rather than path strings:
// it never follows a symbolic link below `path` (a link to a folder removes
// the link only), never leaves the subtree even if it is changed while being
// removed, never descends into another mounted file system, and handles paths
// longer than PATH_MAX.
namespace TreeRemover {

// Returns nothing when `path` is gone, otherwise the first error met. After a
// failure inside a folder, the rest of the folder is still removed where
// possible (like rm -rf), so only what could not be removed remains.
std::optional<FileError> remove(const std::string& path);

}  // namespace TreeRemover
}  // namespace kelvane
