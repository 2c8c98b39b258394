#pragma once

#include <QIcon>
#include <string>

namespace kelvane {

// The desktop's icon for an item, by kind (folder, link, package) and MIME
// type, scaled to 18 × 18. Results are cached per MIME type, so long lists
// cost one lookup per kind of file rather than one per row.
namespace FileIcon {

inline constexpr int kSize = 18;

QIcon forPath(const std::string& path, bool isDir, bool isSymlink, bool isPackage);
QPixmap pixmap(const std::string& path, bool isDir, bool isSymlink, bool isPackage);

}  // namespace FileIcon
}  // namespace kelvane
