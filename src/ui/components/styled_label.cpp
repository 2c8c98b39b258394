#include "ui/components/styled_label.h"

#include <QLabel>

#include "ui/components/palette_roles.h"

namespace kelvane::StyledLabel {

QLabel* make(const QString& text, const QFont& font, const QColor& color, QWidget* parent) {
    auto* label = new QLabel(text, parent);
    label->setFont(font);
    label->setTextFormat(Qt::PlainText);
    // Inside a button a label would draw with the button's text colour, not its own.
    label->setForegroundRole(QPalette::WindowText);
    setColor(label, color);
    label->setAccessibleName(text);
    return label;
}

QLabel* secondary(const QString& text, const QFont& font, QWidget* parent) {
    return make(text, font, PaletteRoles::secondaryText(), parent);
}

void setText(QLabel* label, const QString& text) {
    if (label->text() == text) return;
    label->setText(text);
    label->setAccessibleName(text);
}

void setColor(QLabel* label, const QColor& color) {
    QPalette palette = label->palette();
    palette.setColor(QPalette::WindowText, color);
    label->setPalette(palette);
}

QString css(const QColor& color) {
    return QStringLiteral("rgba(%1, %2, %3, %4)")
        .arg(color.red())
        .arg(color.green())
        .arg(color.blue())
        .arg(color.alpha());
}

}  // namespace kelvane::StyledLabel
