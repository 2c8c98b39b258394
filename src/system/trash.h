#pragma once

#include <optional>
#include <string>

#include "system/deletion_rules.h"
#include "system/file_error.h"

namespace kelvane {

// Moving items to the trash the way the freedesktop.org Trash specification
// describes, so that file managers and trash-cli can list and restore them.
namespace Trash {

// The home trash: $XDG_DATA_HOME/Trash when XDG_DATA_HOME is an absolute
// path, else $HOME/.local/share/Trash (HOME falling back to the password
// database). Read from the environment on every call; the same folder the
// catalog measures (core/home_trash.h holds the rule).
std::string homeTrash();

// The info file that describes `path` when `path` is an item directly inside
// the files folder of `trashFolder`: <trashFolder>/info/NAME.trashinfo.
// Nothing for any other path, including items deeper inside a trashed folder.
std::optional<std::string> infoFileOf(const std::string& trashFolder, const std::string& path);

// To be called after `path` was removed for good: when it was an item of the
// home trash, removes the info file that described it, so that trash-cli and
// file managers do not list an item that no longer exists. A missing info
// file is no error; nothing else is ever touched.
std::optional<FileError> forgetRemovedItem(const std::string& path);

// Moves the item at `path` (a final symbolic link is moved, not followed)
// into the trash of its file system, under the deletion rules
// (deletion_rules.h): the home trash when the item is on the same mount,
// otherwise $topdir/.Trash/$uid (when $topdir/.Trash is a real, sticky
// folder) or $topdir/.Trash-$uid, $topdir being the top of the mount where
// the item physically is. The trash's own folders are refused; so is a
// folder with a volume mounted below it (mountInsideNotMoved), and an item
// whose volume offers no trash we may use (noUsableTrash: deleting it for
// good still works). Collision names keep the extension and always fit
// NAME_MAX together with their info file. Returns nothing on success, or
// the error.
std::optional<FileError> moveToTrash(const std::string& path);
// The same, with the item found by `locator` (one serves a whole batch).
std::optional<FileError> moveToTrash(const std::string& path, DeletionRules::Locator& locator);

// `path` percent-encoded for the Path key of a .trashinfo file: bytes other
// than ASCII letters, digits and "-_.~/" become %XX.
std::string percentEncoded(const std::string& path);

}  // namespace Trash
}  // namespace kelvane
