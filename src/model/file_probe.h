#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace kelvane {

// Existence tests as the model asks them. `exists` and `isFolder` follow
// symbolic links, as a user looking at the folder would; the "itself" tests
// look at the item the path names, a link being only a link.
namespace FileProbe {

bool exists(const std::string& path);
bool isFolder(const std::string& path);
// Whether the path names an item of any kind, a dangling link included.
bool existsItself(const std::string& path);
// Whether the path names a folder itself, not a link to one.
bool isRealFolder(const std::string& path);
// Whether the folder's names can be read (the listing itself is discarded).
bool canList(const std::string& folder);
// The allocated size of the item itself (not descending, not following a
// link), or nothing when it cannot be examined.
std::optional<std::int64_t> ownAllocatedSize(const std::string& path);

}  // namespace FileProbe
}  // namespace kelvane
