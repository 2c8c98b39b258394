#include "ui/components/size_figure.h"

#include <QVariantAnimation>

#include "core/fmt.h"
#include "ui/components/palette_roles.h"
#include "ui/components/styled_label.h"

namespace kelvane {

SizeFigure::SizeFigure(QWidget* parent) : QLabel(parent), fade_(new QVariantAnimation(this)) {
    setFont(Typography::bigFigure());
    setTextFormat(Qt::PlainText);
    fade_->setDuration(250);
    fade_->setEasingCurve(QEasingCurve::OutCubic);
    fade_->setStartValue(0.35);
    fade_->setEndValue(1.0);
    connect(fade_, &QVariantAnimation::valueChanged, this,
            [this](const QVariant& value) { showOpacity(value.toDouble()); });
    setBytes(0);
}

bool SizeFigure::isFading() const {
    return fade_->state() == QAbstractAnimation::Running;
}

void SizeFigure::showOpacity(double opacity) {
    StyledLabel::setColor(this, PaletteRoles::withOpacity(PaletteRoles::primaryText(), opacity));
}

void SizeFigure::setBytes(std::int64_t bytes) {
    if (set_ && bytes == bytes_) return;
    // Fade only a change that stands alone. The first value, a hidden figure
    // and every change that follows another within the quiet time are simply
    // shown: a scan's stream of progress steps would otherwise keep the figure
    // flickering, and a fade in progress must never hold back a newer value.
    const bool animate =
        set_ && isVisible() && lastChange_.isValid() && lastChange_.elapsed() > kQuietMs;
    lastChange_.restart();
    set_ = true;
    bytes_ = bytes;
    StyledLabel::setText(this, QString::fromStdString(Fmt::bytes(bytes)));
    fade_->stop();
    if (animate) {
        fade_->start();
    } else {
        showOpacity(1.0);
    }
}

}  // namespace kelvane
