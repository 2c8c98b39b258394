#pragma once

#include <QIcon>
#include <string>

namespace kelvane {

// The desktop's icon for an item, by kind (folder, package) and MIME type,
// scaled to 18 × 18. A file whose type its name does not tell gets the plain
// page of a generic file; a link gets the theme's link emblem over the icon
// of what it is named as. Results are cached per MIME type, so long lists
// cost one lookup per kind of file rather than one per row.
namespace FileIcon {

inline constexpr int kSize = 18;

QIcon forPath(const std::string& path, bool isDir, bool isSymlink, bool isPackage);
QPixmap pixmap(const std::string& path, bool isDir, bool isSymlink, bool isPackage);

}  // namespace FileIcon
}  // namespace kelvane
