#pragma once

#include <optional>
#include <string>
#include <vector>

namespace kelvane {

// The names in one folder, one level, hidden names included and "." and ".." left out, in the
// order the file system returns them. Absent when the folder cannot be opened or read to the end
// (missing, not a folder, no permission); a half-read listing is never passed off as complete.
std::optional<std::vector<std::string>> listFolderNames(const std::string& folder);

}  // namespace kelvane
