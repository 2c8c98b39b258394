#pragma once

#include <QIcon>
#include <string>

namespace kelvane {

// Maps the catalog's and the screens' symbol names to icons of the desktop's
// icon theme, with one fallback so a row never goes without an icon.
namespace SymbolIcons {

// Adds the system icon folders to Qt's search path and selects a theme. Qt's
// offscreen platform searches only its resources otherwise.
void installTheme();

QIcon icon(const std::string& symbolName);

}  // namespace SymbolIcons
}  // namespace kelvane
