#pragma once

#include <string>
#include <vector>

namespace kelvane {

// Turns a category's path pattern into the concrete paths it names.
namespace PathGlob {

// A pattern without `*` or `?` comes back unchanged as the only element, whether or not it
// exists. Otherwise the pattern is walked one component at a time from "/": a literal component
// is appended to every candidate, a wildcard component is matched with fnmatch (no flags, so `*`
// also matches a leading dot) against the one-level listing of every candidate folder, hidden names
// included. Folders that cannot be listed contribute nothing. The result is sorted by byte order.
// Never fails; problems only shorten the list.
std::vector<std::string> expand(const std::string& pattern);

}  // namespace PathGlob
}  // namespace kelvane
