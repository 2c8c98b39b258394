#pragma once

#include <QWidget>
#include <cstdint>

namespace kelvane {

// The startup disk's used share as a wide rounded bar: a faint track and an
// accent fill from the leading edge. Reads as its percentage.
class DiskUsageBar : public QWidget {
    Q_OBJECT
  public:
    explicit DiskUsageBar(QWidget* parent = nullptr);

    void setUsage(std::int64_t used, std::int64_t total);
    // used ÷ total, with a total below 1 counted as 1.
    double fraction() const { return fraction_; }

    QSize sizeHint() const override { return {200, 18}; }

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    double fraction_ = 0;
};

}  // namespace kelvane
