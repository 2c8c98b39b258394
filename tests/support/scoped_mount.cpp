#include "support/scoped_mount.h"

#include <sys/mount.h>
#include <sys/stat.h>

#include <cerrno>
#include <utility>
#include <filesystem>
#include <fstream>
#include <functional>
#include <set>
#include <sstream>

namespace kelvane::test {

ScopedMount ScopedMount::tmpfs(const std::string& at) {
    const int result = ::mount("tmpfs", at.c_str(), "tmpfs", 0, "size=64m");
    return {at, result == 0 ? 0 : errno};
}

ScopedMount ScopedMount::bind(const std::string& from, const std::string& at) {
    const int result = ::mount(from.c_str(), at.c_str(), nullptr, MS_BIND, nullptr);
    return {at, result == 0 ? 0 : errno};
}

ScopedMount::ScopedMount(ScopedMount&& other) noexcept
    : at_(std::move(other.at_)), error_(std::exchange(other.error_, -1)) {}

ScopedMount::~ScopedMount() {
    if (error_ == 0) ::umount2(at_.c_str(), MNT_DETACH);
}

std::string listing(const std::string& folder) {
    namespace fs = std::filesystem;
    std::set<std::string> lines;
    std::error_code ec;
    for (auto it = fs::recursive_directory_iterator(folder, ec);
         !ec && it != fs::recursive_directory_iterator(); it.increment(ec)) {
        const std::string path = it->path().string();
        struct stat st {};
        if (::lstat(path.c_str(), &st) != 0) continue;
        std::string content;
        if (S_ISREG(st.st_mode)) {
            std::ostringstream bytes;
            bytes << std::ifstream(path, std::ios::binary).rdbuf();
            content = bytes.str();
        } else if (S_ISLNK(st.st_mode)) {
            content = fs::read_symlink(path, ec).string();
        }
        std::ostringstream line;
        line << path.substr(folder.size()) << ' ' << st.st_ino << ' ' << std::oct << st.st_mode
             << ' ' << std::hex << std::hash<std::string>{}(content);
        lines.insert(line.str());
    }
    std::string all;
    for (const std::string& line : lines) all += line + "\n";
    return all;
}

}  // namespace kelvane::test
