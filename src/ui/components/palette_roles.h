#pragma once

#include <QColor>
#include <QFont>

class QWidget;

#include "core/risk.h"

namespace kelvane {

// The colour and type roles the screens use, mapped onto Qt's palette and the
// application font so light and dark themes both read well.
namespace PaletteRoles {

QColor riskColor(Risk risk);
QColor green();
QColor orange();
QColor red();
QColor accent();
// Text colours of decreasing emphasis.
QColor primaryText();
QColor secondaryText();
QColor tertiaryText();
// `color` with its alpha multiplied by `opacity`.
QColor withOpacity(QColor color, double opacity);
// Gives a button the red label of a destructive command while it is enabled;
// disabled, it looks like any disabled button.
void markDestructive(QWidget* button);

}  // namespace PaletteRoles

// Text styles relative to the application font.
namespace Typography {

QFont body();
QFont callout();
QFont caption();
QFont caption2();
QFont headline();
QFont title2();
QFont title3();
// The large figure of the detail screens (30 pt, semibold).
QFont bigFigure();
QFont monospaceCaption();
QFont withWeight(QFont font, QFont::Weight weight);

}  // namespace Typography
}  // namespace kelvane
