#include "ui/components/size_bar.h"

#include <QPainter>
#include <QPainterPath>
#include <algorithm>
#include <cmath>

#include "ui/components/palette_roles.h"

namespace kelvane {

namespace {
constexpr double kHeight = 6;
constexpr double kMinimumStub = 3;
}  // namespace

SizeBar::SizeBar(double fraction, QColor color, QWidget* parent)
    : QWidget(parent), fraction_(fraction), color_(color) {
    setFixedHeight(static_cast<int>(kHeight));
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    updateAccessibleName();
}

void SizeBar::setFraction(double fraction) {
    if (fraction == fraction_) return;
    fraction_ = fraction;
    updateAccessibleName();
    update();
}

QString SizeBar::percentText(double fraction) {
    const double clamped = std::clamp(fraction, 0.0, 1.0);
    return QString::number(static_cast<int>(std::lround(clamped * 100))) + QLatin1Char('%');
}

void SizeBar::updateAccessibleName() {
    setAccessibleName(percentText(fraction_));
}

void SizeBar::setColor(QColor color) {
    color_ = color;
    update();
}

double SizeBar::fillWidth(double fraction, double available) {
    const double minimum = fraction > 0 ? kMinimumStub : 0;
    return std::max(minimum, available * std::min(fraction, 1.0));
}

void SizeBar::paint(QPainter& painter, const QRectF& rect, double fraction, const QColor& color) {
    const QRectF bar(rect.left(), rect.center().y() - kHeight / 2, rect.width(), kHeight);
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(PaletteRoles::withOpacity(PaletteRoles::primaryText(), 0.08));
    painter.drawRoundedRect(bar, kHeight / 2, kHeight / 2);
    const double width = fillWidth(fraction, bar.width());
    if (width > 0) {
        painter.setBrush(
            PaletteRoles::withOpacity(color.isValid() ? color : PaletteRoles::accent(), 0.8));
        painter.drawRoundedRect(QRectF(bar.left(), bar.top(), width, kHeight), kHeight / 2,
                                kHeight / 2);
    }
    painter.restore();
}

void SizeBar::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    paint(painter, rect(), fraction_, color_);
}

}  // namespace kelvane
