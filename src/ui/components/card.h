#pragma once

#include <QFrame>
#include <optional>
#include <string>

class QVBoxLayout;

namespace kelvane {

// A titled box: an optional symbol and a headline title above the caller's
// content, on a rounded, faintly bordered background.
class Card : public QFrame {
    Q_OBJECT
  public:
    Card(const QString& title, std::optional<std::string> systemImage, QWidget* parent = nullptr);

    // Where the caller puts the card's content.
    QVBoxLayout* content() const { return content_; }

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    QVBoxLayout* content_;
};

}  // namespace kelvane
