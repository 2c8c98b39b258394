#include "ui/components/size_figure.h"

#include <QVariantAnimation>
#include <cmath>

#include "core/fmt.h"
#include "ui/components/palette_roles.h"

namespace kelvane {
namespace {

QString figureText(std::int64_t bytes) {
    return QString::fromStdString(Fmt::bytes(bytes));
}

}  // namespace

SizeFigure::SizeFigure(QWidget* parent) : QLabel(parent), animation_(new QVariantAnimation(this)) {
    setFont(Typography::bigFigure());
    setTextFormat(Qt::PlainText);
    animation_->setDuration(350);
    animation_->setEasingCurve(QEasingCurve::OutCubic);
    connect(animation_, &QVariantAnimation::valueChanged, this, [this](const QVariant& value) {
        shown_ = static_cast<std::int64_t>(std::llround(value.toDouble()));
        setText(figureText(shown_));
    });
    setBytes(0);
}

void SizeFigure::setBytes(std::int64_t bytes) {
    if (set_ && bytes == target_) return;
    target_ = bytes;
    setAccessibleName(figureText(bytes));
    animation_->stop();
    if (!set_ || !isVisible()) {
        set_ = true;
        shown_ = bytes;
        setText(figureText(bytes));
        return;
    }
    // Starts from what is on screen, so a change during a roll stays smooth.
    animation_->setStartValue(static_cast<double>(shown_));
    animation_->setEndValue(static_cast<double>(bytes));
    animation_->start();
}

}  // namespace kelvane
