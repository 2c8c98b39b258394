#pragma once

#include <QObject>
#include <QPointer>
#include <mutex>

#include "model/tasks.h"

namespace kelvane {

// The model's main queue on Qt's event loop. Background threads may post at
// any time, also while the application quits: after shutdown() posts are
// dropped instead of reaching a destroyed receiver.
class QtMainQueue : public MainQueue {
  public:
    explicit QtMainQueue(QObject* receiver);

    void post(Step step) override;
    void postDelayed(std::chrono::milliseconds delay, Step step) override;

    // Called on the main thread before the receiver goes away.
    void shutdown();

  private:
    std::mutex mutex_;
    QObject* receiver_;
};

}  // namespace kelvane
