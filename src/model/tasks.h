#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>

namespace kelvane {

// A reference to a background task: its cancel flag, shared with the task.
// Dropping the handle does not stop the task; cancelling only asks it to stop
// at its next check.
class TaskHandle {
  public:
    TaskHandle() : flag_(std::make_shared<std::atomic<bool>>(false)) {}

    void cancel() const { flag_->store(true, std::memory_order_relaxed); }
    bool isCancelled() const { return flag_->load(std::memory_order_relaxed); }

    friend bool operator==(const TaskHandle& a, const TaskHandle& b) { return a.flag_ == b.flag_; }

  private:
    std::shared_ptr<std::atomic<bool>> flag_;
};

// Scans yield to everything the user is waiting for: they run with a lower CPU
// and I/O priority than listings and deletions.
enum class TaskPriority { utility, userInitiated };

// Runs `work` on a thread of its own, detached from the caller. The work gets
// the handle that the caller receives, so it can poll for cancellation.
TaskHandle startDetached(TaskPriority priority, std::function<void(const TaskHandle&)> work);

// How many detached tasks are still running, so that tests and a quitting
// application can wait for background work to settle.
std::size_t runningTaskCount();

// The port through which background work hands steps to the main thread. The
// Qt adapter posts to the event loop; tests use ManualMainQueue and drain it.
class MainQueue {
  public:
    using Step = std::function<void()>;
    virtual ~MainQueue() = default;

    // Runs `step` on the main thread later; returns at once.
    virtual void post(Step step) = 0;
    // Runs `step` on the main thread no sooner than `delay` from now.
    virtual void postDelayed(std::chrono::milliseconds delay, Step step) = 0;

    // Runs `step` on the main thread and waits until it has run. Must not be
    // called from the main thread itself.
    void postAndWait(Step step);
};

}  // namespace kelvane
