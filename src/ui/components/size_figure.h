#pragma once

#include <QElapsedTimer>
#include <QLabel>
#include <cstdint>

class QVariantAnimation;

namespace kelvane {

// A large byte figure. A new value is shown at once and fades in, so a change
// reads as movement without the figure ever showing a number that nobody
// measured. A value that arrives while the fade runs ends it: the figure then
// simply shows the newest value.
class SizeFigure : public QLabel {
    Q_OBJECT
  public:
    explicit SizeFigure(QWidget* parent = nullptr);

    void setBytes(std::int64_t bytes);
    std::int64_t bytes() const { return bytes_; }
    // Whether the fade of the last change is still running.
    bool isFading() const;

  private:
    static constexpr qint64 kQuietMs = 600;

    void showOpacity(double opacity);

    QVariantAnimation* fade_;
    QElapsedTimer lastChange_;
    std::int64_t bytes_ = 0;
    bool set_ = false;
};

}  // namespace kelvane
