#pragma once

#include <QWidget>

#include <functional>
#include <optional>

class QLabel;
class QProgressBar;
class QPushButton;

namespace kelvane {

// Covers its parent with a dimmed layer and a centred panel holding a
// progress bar and a message, swallowing clicks while long work runs. Work
// that reports how far it has come shows a line of counts, a bar that fills
// when the share done is known (it spins otherwise), and "停止".
class BusyOverlay : public QWidget {
    Q_OBJECT
  public:
    explicit BusyOverlay(QWidget* parent);

    void showMessage(const QString& message);
    // The counts line and the share done (0 to 1, or none); `stopping`
    // greys "停止" out once it was pressed. Without a line, no counts and
    // no button.
    void showProgress(const std::optional<QString>& line, std::optional<double> fraction,
                      bool stopping, bool stoppable = true);
    // Called when "停止" is pressed.
    void onStop(std::function<void()> stop) { stop_ = std::move(stop); }

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

  private:
    void placePanel();

    QWidget* panel_;
    QProgressBar* bar_;
    QLabel* label_;
    QLabel* counts_;
    QPushButton* stopButton_;
    std::function<void()> stop_;
};

}  // namespace kelvane
