#include "model/file_probe.h"

#include <dirent.h>
#include <sys/stat.h>

#include <cerrno>
#include <memory>

namespace kelvane::FileProbe {

bool exists(const std::string& path) {
    struct stat info {};
    return ::stat(path.c_str(), &info) == 0;
}

bool isFolder(const std::string& path) {
    struct stat info {};
    return ::stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

bool existsItself(const std::string& path) {
    struct stat info {};
    return ::lstat(path.c_str(), &info) == 0;
}

bool isRealFolder(const std::string& path) {
    struct stat info {};
    return ::lstat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

bool canList(const std::string& folder) {
    const std::unique_ptr<DIR, int (*)(DIR*)> dir(::opendir(folder.c_str()), ::closedir);
    if (!dir) return false;
    errno = 0;
    while (::readdir(dir.get()) != nullptr) {
    }
    return errno == 0;
}

std::optional<std::int64_t> ownAllocatedSize(const std::string& path) {
    struct stat info {};
    if (::lstat(path.c_str(), &info) != 0) return std::nullopt;
    return static_cast<std::int64_t>(info.st_blocks) * 512;
}

}  // namespace kelvane::FileProbe
