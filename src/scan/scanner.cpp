#include "scan/scanner.h"

#include <sys/stat.h>

#include "scan/tree_walk.h"

namespace kelvane::Scanner {

ScanStats scan(const std::string& root, SizeStore& store, const Progress& progress,
               const CancelTest& shouldCancel, const ScanOptions& options) {
    if (root.empty()) return ScanStats{0, 0, 0, 1};
    struct stat status {};
    // The root is followed when it is a link. One whose target cannot be reached (missing, a
    // loop) is still an item: it counts as the link itself.
    if (::stat(root.c_str(), &status) != 0 && ::lstat(root.c_str(), &status) != 0) {
        return ScanStats{0, 0, 0, 1};
    }
    if (!S_ISDIR(status.st_mode)) {
        return ScanStats{static_cast<std::int64_t>(status.st_blocks) * 512, 1, 0, 0};
    }
    return walkFolderTree(root, status, store, progress, shouldCancel, options);
}

}  // namespace kelvane::Scanner
