#include "scan/dir_listing.h"

#include <dirent.h>

#include <cerrno>
#include <cstring>
#include <memory>

namespace kelvane {
namespace {

struct DirCloser {
    void operator()(DIR* dir) const noexcept { ::closedir(dir); }
};
using DirHandle = std::unique_ptr<DIR, DirCloser>;

}  // namespace

std::optional<std::vector<std::string>> listFolderNames(const std::string& folder) {
    const DirHandle dir(::opendir(folder.c_str()));
    if (!dir) return std::nullopt;
    std::vector<std::string> names;
    for (;;) {
        // readdir reports the end and an error alike with nullptr; only errno tells them apart.
        errno = 0;
        const dirent* const item = ::readdir(dir.get());
        if (item == nullptr) {
            if (errno != 0) return std::nullopt;
            break;
        }
        const char* const name = item->d_name;
        if (std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0) continue;
        names.emplace_back(name);
    }
    return names;
}

}  // namespace kelvane
