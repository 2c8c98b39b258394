#pragma once

#include <QWidget>
#include <cstdint>

namespace kelvane {

// A volume's used share as a wide rounded bar: a faint track and an accent
// fill from the leading edge, then the space reserved for root in a paler
// accent, so the whole fill is what the user cannot write to. Reads as its
// percentages, after `namePrefix` when one volume's bar must be told from
// another's.
class DiskUsageBar : public QWidget {
    Q_OBJECT
  public:
    static constexpr int kDefaultHeight = 18;
    explicit DiskUsageBar(QWidget* parent = nullptr, int height = kDefaultHeight,
                          QString namePrefix = {});

    void setUsage(std::int64_t used, std::int64_t reserved, std::int64_t total);
    // used ÷ total, with a total below 1 counted as 1.
    double fraction() const { return fraction_; }
    // reserved ÷ total, likewise.
    double reservedFraction() const { return reservedFraction_; }

    QSize sizeHint() const override { return {200, height()}; }

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    double fraction_ = 0;
    double reservedFraction_ = 0;
    QString namePrefix_;
};

}  // namespace kelvane
