#pragma once

#include <string>
#include <string_view>

namespace kelvane {

// Text operations on POSIX paths. Paths are byte strings exactly as the file
// system gave them; nothing here touches the disk, resolves links or
// normalises anything beyond what each function says.
namespace PathText {

// The parent folder: trailing slashes are ignored, the parent of "/" is "/",
// of "/a" is "/", and a single relative component has the empty parent.
std::string parent(std::string_view path);

// The last component, trailing slashes ignored; "/" for "/" and "" for "".
std::string lastComponent(std::string_view path);

// The extension of the last component without its dot ("" when there is none,
// also for names that only begin with a dot such as ".npm").
std::string extension(std::string_view path);

// `folder` + "/" + `name`, without doubling the slash when `folder` ends in one.
std::string join(std::string_view folder, std::string_view name);

// "~" for `home` itself, "~/…" for paths below it, anything else unchanged.
std::string shortForm(std::string_view path, std::string_view home);

// True when `path` is `ancestor` or lies below it (component-wise, so "/a/bc"
// is not below "/a/b").
bool isSameOrBelow(std::string_view path, std::string_view ancestor);

// `path` as an absolute path: relative to `workingFolder` when it does not
// start with "/", without empty and "." components or a trailing slash.
// ".." is kept as it is: taking it away by text could name another folder
// than the one a link leads to.
std::string absolute(std::string_view path, std::string_view workingFolder);

}  // namespace PathText
}  // namespace kelvane
