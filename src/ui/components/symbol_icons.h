#pragma once

#include <QColor>
#include <QIcon>
#include <QPixmap>
#include <string>

namespace kelvane {

// Maps the catalog's and the screens' symbol names to icons of the desktop's
// icon theme, with one fallback so a row never goes without an icon.
namespace SymbolIcons {

// Adds the system icon folders to Qt's search path and selects a theme. Qt's
// offscreen platform searches only its resources otherwise.
void installTheme();

QIcon icon(const std::string& symbolName);

// The symbol drawn in one colour (for risk tints and secondary styles).
QPixmap tinted(const std::string& symbolName, const QColor& color, int size);

}  // namespace SymbolIcons
}  // namespace kelvane
