#include "ui/components/row_button.h"

#include <QLayout>
#include <QPainter>

#include "ui/components/palette_roles.h"

namespace kelvane {

RowButton::RowButton(QWidget* parent) : QAbstractButton(parent) {
    setCursor(Qt::PointingHandCursor);
    setFocusPolicy(Qt::StrongFocus);
}

void RowButton::passClicksThrough() {
    for (QWidget* child : findChildren<QWidget*>()) {
        child->setAttribute(Qt::WA_TransparentForMouseEvents);
    }
}

QSize RowButton::sizeHint() const {
    return layout() != nullptr ? layout()->sizeHint() : QAbstractButton::sizeHint();
}

QSize RowButton::minimumSizeHint() const {
    return layout() != nullptr ? layout()->minimumSize() : QAbstractButton::minimumSizeHint();
}

void RowButton::paintEvent(QPaintEvent*) {
    if (!underMouse() && !isDown() && !hasFocus()) return;
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(PaletteRoles::withOpacity(PaletteRoles::primaryText(), isDown() ? 0.1 : 0.05));
    painter.drawRoundedRect(QRectF(rect()), 6, 6);
}

}  // namespace kelvane
