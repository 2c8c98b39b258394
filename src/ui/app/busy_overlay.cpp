#include "ui/app/busy_overlay.h"

#include <QEvent>
#include <QLabel>
#include <QPainter>
#include <QProgressBar>
#include <QPushButton>
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
    bar_ = new QProgressBar(panel_);
    bar_->setRange(0, 0);
    bar_->setTextVisible(false);
    bar_->setFixedWidth(240);
    label_ = new QLabel(panel_);
    label_->setAlignment(Qt::AlignCenter);
    counts_ = new QLabel(panel_);
    counts_->setAlignment(Qt::AlignCenter);
    counts_->setForegroundRole(QPalette::PlaceholderText);
    // Room for growing counts, so the panel does not jump at every report.
    counts_->setMinimumWidth(counts_->fontMetrics().horizontalAdvance(QString(44, u'0')));
    stopButton_ = new QPushButton(QStringLiteral("停止"), panel_);
    stopButton_->setAccessibleName(QStringLiteral("停止"));
    connect(stopButton_, &QPushButton::clicked, this, [this] {
        if (stop_) stop_();
    });
    layout->addWidget(bar_, 0, Qt::AlignCenter);
    layout->addWidget(label_, 0, Qt::AlignCenter);
    layout->addWidget(counts_, 0, Qt::AlignCenter);
    layout->addWidget(stopButton_, 0, Qt::AlignCenter);
    counts_->hide();
    stopButton_->hide();
    parent->installEventFilter(this);
    setGeometry(parent->rect());
    hide();
}

void BusyOverlay::showMessage(const QString& message) {
    label_->setText(message);
    setAccessibleName(message);
    placePanel();
    raise();
    show();
}

void BusyOverlay::showProgress(const std::optional<QString>& line, std::optional<double> fraction,
                               bool stopping, bool stoppable) {
    counts_->setVisible(line.has_value());
    stopButton_->setVisible(line.has_value() && stoppable);
    if (line) counts_->setText(*line);
    if (fraction) {
        bar_->setRange(0, 1000);
        bar_->setValue(static_cast<int>(*fraction * 1000.0 + 0.5));
    } else {
        bar_->setRange(0, 0);
    }
    stopButton_->setEnabled(!stopping);
    stopButton_->setText(stopping ? QStringLiteral("停止中…") : QStringLiteral("停止"));
    placePanel();
}

void BusyOverlay::placePanel() {
    panel_->adjustSize();
    panel_->move((width() - panel_->width()) / 2, (height() - panel_->height()) / 2);
}

bool BusyOverlay::eventFilter(QObject* watched, QEvent* event) {
    if (watched == parent() && event->type() == QEvent::Resize) {
        setGeometry(parentWidget()->rect());
        placePanel();
    }
    return QWidget::eventFilter(watched, event);
}

void BusyOverlay::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), QColor(0, 0, 0, 38));  // black at 0.15
}

}  // namespace kelvane
