#include "ui/components/risk_badge.h"

#include <QPainter>

#include "ui/components/palette_roles.h"

namespace kelvane {

RiskBadge::RiskBadge(Risk risk, QWidget* parent) : QLabel(text(risk), parent), risk_(risk) {
    setFont(Typography::withWeight(Typography::caption2(), QFont::DemiBold));
    setContentsMargins(7, 2, 7, 2);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    QPalette p = palette();
    p.setColor(QPalette::WindowText, PaletteRoles::riskColor(risk));
    setPalette(p);
    setAccessibleName(text(risk));
}

QString RiskBadge::text(Risk risk) {
    switch (risk) {
        case Risk::safe:
            return QStringLiteral("安全");
        case Risk::caution:
            return QStringLiteral("注意");
        case Risk::danger:
            return QStringLiteral("慎重に");
    }
    return {};
}

void RiskBadge::paintEvent(QPaintEvent* event) {
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(PaletteRoles::withOpacity(PaletteRoles::riskColor(risk_), 0.15));
        const QRectF r = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
        painter.drawRoundedRect(r, r.height() / 2, r.height() / 2);
    }
    QLabel::paintEvent(event);
}

}  // namespace kelvane
