#pragma once

#include <QObject>

#include "core/unique_fd.h"

class QSocketNotifier;

namespace kelvane {

// Turns SIGTERM and SIGINT (a session ending, Ctrl+C in a terminal) into an
// orderly quit of the event loop, so the application ends as it does from the
// menu: the history's last writes are finished, the window's state is saved.
// One per process, made after the QApplication.
class QuitOnSignal : public QObject {
    Q_OBJECT
  public:
    explicit QuitOnSignal(QObject* parent = nullptr);
    ~QuitOnSignal() override;

  private:
    UniqueFd read_;
    UniqueFd write_;
    QSocketNotifier* notifier_ = nullptr;
};

}  // namespace kelvane
