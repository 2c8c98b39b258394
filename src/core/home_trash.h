#pragma once

#include <string>
#include <string_view>

namespace kelvane {

// Where the desktop's home trash lives (what the freedesktop.org Trash
// rules call the "home trash"). The catalog measures its files folder as
// "ゴミ箱", the deletion flows treat what lies there as already trashed, and
// the system layer moves items into it; all of them ask here, so the row the
// user empties is the trash the file manager shows.
namespace HomeTrash {

// The home trash for a given home folder and value of XDG_DATA_HOME (null
// when unset): <XDG_DATA_HOME>/Trash when that is an absolute path, else
// <home>/.local/share/Trash. Never with a trailing slash.
std::string folderFor(std::string_view home, const char* dataHome);

// The folder inside a trash that holds the trashed items themselves.
std::string filesOf(std::string_view trashFolder);

// The home trash of the running process, from HOME and XDG_DATA_HOME as they
// are now (read afresh on each call).
std::string current();

}  // namespace HomeTrash
}  // namespace kelvane
