#pragma once

#include <optional>
#include <string>

#include "system/deletion_rules.h"
#include "system/file_error.h"

namespace kelvane {

// Deleting one read-only Btrfs snapshot, and nothing else: the item at the
// path must be the root of a Btrfs subvolume, read-only, and a snapshot of
// another subvolume (it has a parent). Anything else — a folder, an ordinary
// subvolume, a writable snapshot, another file system — is refused
// (`notASnapshot`), so a request cannot be turned into the removal of
// whatever a path names.
namespace BtrfsSnapshot {

// Whether the folder open at `fd` is such a snapshot.
bool isReadOnlySnapshot(int fd);

// Destroys the snapshot at `path`, found under the deletion rules by
// `locator` (its links, mounts and protected folders). Nothing on success.
std::optional<FileError> destroy(const std::string& path, DeletionRules::Locator& locator);

}  // namespace BtrfsSnapshot
}  // namespace kelvane
