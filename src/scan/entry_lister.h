#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/entry.h"

namespace kelvane {

class SizeStore;

// Turns one folder, or one path, into the browser's Entry records. Items are examined without
// following links (a listed folder's items relative to its open descriptor, one call each);
// folder sizes come from the SizeStore instead of a walk, so listing a folder full of huge
// subfolders costs no more than the listing itself.
namespace EntryLister {

// The entries of `dir`, one level, hidden names included, in the order the file system lists
// them (the browser sorts). Absent when `dir` cannot be listed (missing, not a folder, or not
// readable); an empty folder gives an empty list.
std::optional<std::vector<Entry>> list(const std::string& dir, const SizeStore& store);

// The entry for one path; never fails. An item that cannot be examined (it vanished, say) comes
// back as a non-folder of size 0 without a date. A folder's size is the store's value for exactly
// `path`, absent until measured; anything else has its own allocated size.
Entry entry(const std::string& path, const SizeStore& store);

// True when `extension` (without the dot) names a folder that the desktop shows as a single
// document, compared without regard to letter case.
bool isPackageExtension(std::string_view extension);

}  // namespace EntryLister
}  // namespace kelvane
