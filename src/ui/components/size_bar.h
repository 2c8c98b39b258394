#pragma once

#include <QColor>
#include <QWidget>

namespace kelvane {

// A proportional bar: a faint full-width track with a fill of `fraction` of
// the width. Any non-zero share shows at least a 3 px stub; shares above 1 are
// clamped; zero or negative shares draw no fill.
class SizeBar : public QWidget {
    Q_OBJECT
  public:
    explicit SizeBar(double fraction = 0, QColor color = {}, QWidget* parent = nullptr);

    void setFraction(double fraction);
    double fraction() const { return fraction_; }
    void setColor(QColor color);

    // The fill width for a bar `available` px wide; shared with list delegates
    // that paint bars without a widget.
    static double fillWidth(double fraction, double available);
    // Paints a bar into `rect` (6 px high, centred vertically).
    static void paint(QPainter& painter, const QRectF& rect, double fraction, const QColor& color);

    // What a screen reader says for a share: its whole percentage, clamped to 0–100.
    static QString percentText(double fraction);

    QSize sizeHint() const override { return {90, 6}; }

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    void updateAccessibleName();

    double fraction_;
    QColor color_;
};

}  // namespace kelvane
