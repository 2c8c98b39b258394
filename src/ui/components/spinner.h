#pragma once

#include <QWidget>

class QTimer;

namespace kelvane {

// A small indeterminate progress indicator: a rotating arc. Runs its timer only
// while visible, so hidden spinners cost nothing.
class Spinner : public QWidget {
    Q_OBJECT
  public:
    explicit Spinner(int diameter = 14, QWidget* parent = nullptr);

    // Paints one frame at `phase` (0-359 degrees) into `rect`; for delegates.
    static void paint(QPainter& painter, const QRectF& rect, int phase, const QColor& color);

    QSize sizeHint() const override { return {diameter_, diameter_}; }

  protected:
    void paintEvent(QPaintEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

  private:
    int diameter_;
    int phase_ = 0;
    QTimer* timer_;
};

}  // namespace kelvane
