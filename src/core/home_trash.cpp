#include "core/home_trash.h"

#include <cstdlib>

#include "core/home_folder.h"

namespace kelvane {
namespace {

std::string_view withoutTrailingSlash(std::string_view path) {
    while (path.size() > 1 && path.back() == '/') path.remove_suffix(1);
    return path;
}

std::string joined(std::string_view folder, std::string_view rest) {
    std::string path(withoutTrailingSlash(folder));
    if (path == "/") path.clear();  // "/" + "/Trash" must not become "//Trash"
    path += rest;
    return path;
}

}  // namespace

std::string HomeTrash::folderFor(std::string_view home, const char* dataHome) {
    // A relative XDG_DATA_HOME is invalid and must be ignored, so a stray
    // value never sends the trash somewhere below the working directory.
    if (dataHome != nullptr && dataHome[0] == '/') return joined(dataHome, "/Trash");
    return joined(home, "/.local/share/Trash");
}

std::string HomeTrash::filesOf(std::string_view trashFolder) {
    return joined(trashFolder, "/files");
}

std::string HomeTrash::current() {
    return folderFor(HomeFolder::find(), std::getenv("XDG_DATA_HOME"));
}

}  // namespace kelvane
