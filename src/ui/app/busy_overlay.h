#pragma once

#include <QWidget>

class QLabel;

namespace kelvane {

// Covers its parent with a dimmed layer and a centred panel holding a spinning
// progress bar and a message, swallowing clicks while long work runs.
class BusyOverlay : public QWidget {
    Q_OBJECT
  public:
    explicit BusyOverlay(QWidget* parent);

    void showMessage(const QString& message);

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

  private:
    QWidget* panel_;
    QLabel* label_;
};

}  // namespace kelvane
