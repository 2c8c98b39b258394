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

// Any icon as a one-colour glyph: its darkest colour becomes `color`, and
// detail the icon draws lighter than that is cut out, so a white "!" on an
// orange triangle stays readable. Selected rows draw their icons this way, in
// the selection's text colour, since the theme's coloured outlines vanish on
// the highlight.
QPixmap recoloured(const QPixmap& source, const QColor& color);

}  // namespace SymbolIcons
}  // namespace kelvane
