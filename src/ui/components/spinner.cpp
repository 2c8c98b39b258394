#include "ui/components/spinner.h"

#include <QPainter>
#include <QTimer>

#include "ui/components/palette_roles.h"

namespace kelvane {

Spinner::Spinner(int diameter, QWidget* parent)
    : QWidget(parent), diameter_(diameter), timer_(new QTimer(this)) {
    setFixedSize(diameter, diameter);
    timer_->setInterval(80);
    connect(timer_, &QTimer::timeout, this, [this] {
        phase_ = (phase_ + 30) % 360;
        update();
    });
    setAccessibleName(QStringLiteral("処理中"));
}

void Spinner::paint(QPainter& painter, const QRectF& rect, int phase, const QColor& color) {
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    const double pen = std::max(1.5, rect.width() / 7);
    const QRectF circle = rect.adjusted(pen, pen, -pen, -pen);
    painter.setPen(QPen(PaletteRoles::withOpacity(color, 0.2), pen));
    painter.drawEllipse(circle);
    painter.setPen(QPen(color, pen, Qt::SolidLine, Qt::RoundCap));
    painter.drawArc(circle, -phase * 16, 100 * 16);
    painter.restore();
}

void Spinner::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    paint(painter, QRectF(rect()), phase_, PaletteRoles::secondaryText());
}

void Spinner::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    timer_->start();
}

void Spinner::hideEvent(QHideEvent* event) {
    QWidget::hideEvent(event);
    timer_->stop();
}

}  // namespace kelvane
