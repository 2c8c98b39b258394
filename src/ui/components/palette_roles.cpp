#include "ui/components/palette_roles.h"

#include <QApplication>
#include <QFontDatabase>
#include <QPalette>
#include <QWidget>

namespace kelvane {
namespace {

bool darkTheme() {
    return QApplication::palette().color(QPalette::Window).lightness() < 128;
}

QFont scaled(double factor) {
    QFont font = QApplication::font();
    const double base = font.pointSizeF() > 0 ? font.pointSizeF() : 10.0;
    font.setPointSizeF(base * factor);
    return font;
}

}  // namespace

namespace PaletteRoles {

QColor green() {
    return darkTheme() ? QColor(0x4c, 0xd9, 0x64) : QColor(0x1e, 0x9e, 0x3a);
}
QColor orange() {
    return darkTheme() ? QColor(0xff, 0xa6, 0x1a) : QColor(0xd9, 0x7a, 0x00);
}
QColor red() {
    return darkTheme() ? QColor(0xff, 0x5c, 0x52) : QColor(0xd7, 0x26, 0x1e);
}

QColor riskColor(Risk risk) {
    switch (risk) {
        case Risk::safe:
            return green();
        case Risk::caution:
            return orange();
        case Risk::danger:
            return red();
    }
    return green();
}

QColor accent() {
    return QApplication::palette().color(QPalette::Highlight);
}
QColor primaryText() {
    return QApplication::palette().color(QPalette::WindowText);
}
QColor secondaryText() {
    return withOpacity(primaryText(), 0.62);
}
QColor tertiaryText() {
    return withOpacity(primaryText(), 0.38);
}

QColor withOpacity(QColor color, double opacity) {
    color.setAlphaF(static_cast<float>(color.alphaF() * opacity));
    return color;
}

void markDestructive(QWidget* button) {
    QPalette palette = button->palette();
    palette.setColor(QPalette::Active, QPalette::ButtonText, red());
    palette.setColor(QPalette::Inactive, QPalette::ButtonText, red());
    button->setPalette(palette);
}

}  // namespace PaletteRoles

namespace Typography {

QFont body() {
    return QApplication::font();
}
QFont callout() {
    return scaled(0.95);
}
QFont caption() {
    return scaled(0.85);
}
QFont caption2() {
    return scaled(0.78);
}
QFont headline() {
    return withWeight(scaled(1.05), QFont::DemiBold);
}
QFont title2() {
    return scaled(1.45);
}
QFont title3() {
    return scaled(1.25);
}
QFont bigFigure() {
    QFont font = withWeight(QApplication::font(), QFont::DemiBold);
    font.setPointSizeF(22.5);  // 30 px at 96 dpi
    return font;
}
QFont monospaceCaption() {
    QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    font.setPointSizeF(caption().pointSizeF());
    return font;
}
QFont withWeight(QFont font, QFont::Weight weight) {
    font.setWeight(weight);
    return font;
}

}  // namespace Typography
}  // namespace kelvane
