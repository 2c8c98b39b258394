#pragma once

#include <optional>
#include <string>

#include "system/deletion_rules.h"
#include "system/file_error.h"

namespace kelvane {

class DeletionProgress;

// Removes a file, a symbolic link or a folder with everything below it,
// under the deletion rules (deletion_rules.h). Below the item it works from
// directory descriptors (openat/unlinkat), never follows a symbolic link (a
// link to a folder removes the link only), never enters another mount (same
// device bind mounts included: mounts are told apart by mount id), and stops
// a folder that was swapped while being removed. Depth is bounded by nothing
// but the file system: it holds a fixed number of folders open and finds
// its way back up through "..", checking each folder's identity.
//
// Like rm -rf it goes on past items it cannot remove, so only those remain;
// an item that vanished meanwhile counts as removed. Folders of the user's
// own below the item that merely lack write or search permission (as Go's
// module cache leaves them) are made accessible to the owner so that their
// contents can go; nothing above the item is ever changed.
namespace TreeRemover {

// Returns nothing when `path` is gone, otherwise what stopped it going, from
// every failure met (DeletionRules::FailureVerdict), so the answer does not
// depend on the order the folder lists its entries in. Links
// among the parent folders are followed only when the running user or root
// owns them.
std::optional<FileError> remove(const std::string& path);

// The same, with the item found by `locator`: its trust decides whose links
// are followed (the administrator helper trusts those of the user who
// asked), and one locator serves a whole batch. With `progress`, every
// removal is counted there, and a stop asked for there ends the work before
// the next entry (the refusal `stopped`).
std::optional<FileError> remove(const std::string& path, DeletionRules::Locator& locator,
                                DeletionProgress* progress = nullptr);

}  // namespace TreeRemover
}  // namespace kelvane
