#pragma once

#include <QLabel>
#include <cstdint>

class QVariantAnimation;

namespace kelvane {

// A large byte figure that rolls to a new value instead of jumping, so a
// size growing during a scan reads as movement rather than flicker. The
// accessible name always carries the final value.
class SizeFigure : public QLabel {
    Q_OBJECT
  public:
    explicit SizeFigure(QWidget* parent = nullptr);

    void setBytes(std::int64_t bytes);
    std::int64_t bytes() const { return target_; }

  private:
    QVariantAnimation* animation_;
    std::int64_t target_ = 0;
    std::int64_t shown_ = 0;
    bool set_ = false;
};

}  // namespace kelvane
