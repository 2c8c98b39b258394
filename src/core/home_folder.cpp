#include "core/home_folder.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <vector>

namespace kelvane {
namespace {

std::string withoutTrailingSlash(std::string path) {
    while (path.size() > 1 && path.back() == '/') path.pop_back();
    return path;
}

}  // namespace

std::string HomeFolder::find() {
    if (const char* env = std::getenv("HOME"); env != nullptr && env[0] == '/') {
        return withoutTrailingSlash(env);
    }
    // No usable $HOME: ask the password database, as a login shell would.
    const long size = sysconf(_SC_GETPW_R_SIZE_MAX);
    std::vector<char> buffer(size > 0 ? static_cast<std::size_t>(size) : 16384);
    passwd entry{};
    passwd* found = nullptr;
    if (getpwuid_r(getuid(), &entry, buffer.data(), buffer.size(), &found) == 0 &&
        found != nullptr && found->pw_dir != nullptr && found->pw_dir[0] == '/') {
        return withoutTrailingSlash(found->pw_dir);
    }
    return "/";
}

}  // namespace kelvane
