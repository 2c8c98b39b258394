#pragma once

#include <QColor>
#include <QFont>
#include <QString>

class QLabel;
class QWidget;

namespace kelvane {

// Labels in the screens' text styles. A label's text is all a screen reader
// gets of it, so these keep the accessible name equal to what is shown.
namespace StyledLabel {

QLabel* make(const QString& text, const QFont& font, const QColor& color, QWidget* parent);
// A secondary-colour label in `font`.
QLabel* secondary(const QString& text, const QFont& font, QWidget* parent);
// Changes the text and the accessible name together.
void setText(QLabel* label, const QString& text);
void setColor(QLabel* label, const QColor& color);
// `color` as a style-sheet and rich-text colour, alpha included.
QString css(const QColor& color);

}  // namespace StyledLabel
}  // namespace kelvane
