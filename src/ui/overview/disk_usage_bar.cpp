#include "ui/overview/disk_usage_bar.h"

#include <QPainter>
#include <algorithm>
#include <cmath>
#include <utility>

#include "ui/components/palette_roles.h"

namespace kelvane {

namespace {
constexpr double kRadius = 6;
}  // namespace

DiskUsageBar::DiskUsageBar(QWidget* parent, int height, QString namePrefix)
    : QWidget(parent), namePrefix_(std::move(namePrefix)) {
    setFixedHeight(height);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    setUsage(0, 0, 0);
}

void DiskUsageBar::setUsage(std::int64_t used, std::int64_t reserved, std::int64_t total) {
    const auto scale = static_cast<double>(std::max<std::int64_t>(total, 1));
    fraction_ = static_cast<double>(used) / scale;
    reservedFraction_ = static_cast<double>(reserved) / scale;
    QString name = namePrefix_ + QStringLiteral("使用率 %1%").arg(std::lround(fraction_ * 100));
    if (reserved > 0) {
        name += QStringLiteral("、root 用の予約領域 %1%").arg(std::lround(reservedFraction_ * 100));
    }
    setAccessibleName(name);
    update();
}

void DiskUsageBar::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    const QRectF track(0, 0, width(), height());
    // A thin bar keeps round ends rather than a fixed corner.
    const double radius = std::min(kRadius, track.height() / 2);
    painter.setBrush(PaletteRoles::withOpacity(PaletteRoles::primaryText(), 0.08));
    painter.drawRoundedRect(track, radius, radius);
    const double fill = std::clamp(fraction_, 0.0, 1.0) * track.width();
    const double withReserve = std::clamp(fraction_ + reservedFraction_, 0.0, 1.0) * track.width();
    // The reserve first, under the used part: both share one rounded shape.
    if (withReserve > fill) {
        painter.setBrush(PaletteRoles::withOpacity(PaletteRoles::accent(), 0.3));
        painter.drawRoundedRect(QRectF(0, 0, withReserve, track.height()), radius, radius);
    }
    if (fill <= 0) return;
    painter.setBrush(PaletteRoles::withOpacity(PaletteRoles::accent(), 0.85));
    painter.drawRoundedRect(QRectF(0, 0, fill, track.height()), radius, radius);
}

}  // namespace kelvane
