#include "ui/app/busy_overlay.h"

#include <QEvent>
#include <QLabel>
#include <QPainter>
#include <QProgressBar>
#include <QVBoxLayout>

namespace kelvane {
namespace {

// The centred panel: a translucent rounded rectangle in the window colour.
class Panel : public QWidget {
  public:
    using QWidget::QWidget;

  protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        QColor fill = palette().color(QPalette::Window);
        fill.setAlphaF(0.92f);
        painter.setPen(Qt::NoPen);
        painter.setBrush(fill);
        painter.drawRoundedRect(QRectF(rect()), 12, 12);
    }
};

}  // namespace

BusyOverlay::BusyOverlay(QWidget* parent) : QWidget(parent) {
    setAttribute(Qt::WA_NoSystemBackground);
    panel_ = new Panel(this);
    auto* layout = new QVBoxLayout(panel_);
    layout->setContentsMargins(24, 24, 24, 24);
    layout->setSpacing(12);
    auto* spinner = new QProgressBar(panel_);
    spinner->setRange(0, 0);
    spinner->setTextVisible(false);
    spinner->setFixedWidth(180);
    label_ = new QLabel(panel_);
    label_->setAlignment(Qt::AlignCenter);
    layout->addWidget(spinner, 0, Qt::AlignCenter);
    layout->addWidget(label_, 0, Qt::AlignCenter);
    parent->installEventFilter(this);
    setGeometry(parent->rect());
    hide();
}

void BusyOverlay::showMessage(const QString& message) {
    label_->setText(message);
    setAccessibleName(message);
    panel_->adjustSize();
    panel_->move((width() - panel_->width()) / 2, (height() - panel_->height()) / 2);
    raise();
    show();
}

bool BusyOverlay::eventFilter(QObject* watched, QEvent* event) {
    if (watched == parent() && event->type() == QEvent::Resize) {
        setGeometry(parentWidget()->rect());
        panel_->move((width() - panel_->width()) / 2, (height() - panel_->height()) / 2);
    }
    return QWidget::eventFilter(watched, event);
}

void BusyOverlay::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), QColor(0, 0, 0, 38));  // black at 0.15
}

}  // namespace kelvane
