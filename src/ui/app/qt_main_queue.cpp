#include "ui/app/qt_main_queue.h"

#include <QMetaObject>
#include <QTimer>

namespace kelvane {

QtMainQueue::QtMainQueue(QObject* receiver) : receiver_(receiver) {}

void QtMainQueue::post(Step step) {
    const std::lock_guard lock(mutex_);
    if (receiver_ == nullptr) return;
    QMetaObject::invokeMethod(receiver_, std::move(step), Qt::QueuedConnection);
}

void QtMainQueue::postDelayed(std::chrono::milliseconds delay, Step step) {
    // Timers belong to the thread that starts them, so start it on the main thread.
    post([this, delay, step = std::move(step)] {
        const std::lock_guard lock(mutex_);
        if (receiver_ == nullptr) return;
        QTimer::singleShot(delay, receiver_, step);
    });
}

void QtMainQueue::shutdown() {
    const std::lock_guard lock(mutex_);
    receiver_ = nullptr;
}

}  // namespace kelvane
