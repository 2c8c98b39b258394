#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <vector>

#include "model/tasks.h"

namespace kelvane {

// A main queue that runs nothing by itself: the owner (a test, a headless
// tool) drains it on its own thread, which thereby plays the main thread.
// Delayed steps run once the queue's own clock, advanced by the owner, reaches
// their time, so tests of timed behaviour never sleep.
class ManualMainQueue : public MainQueue {
  public:
    void post(Step step) override;
    void postDelayed(std::chrono::milliseconds delay, Step step) override;

    // Runs every step that is ready now, including steps posted while
    // draining. Returns how many ran.
    std::size_t drain();

    // Drains until `done()` holds, waiting for background posts in between;
    // gives up after `timeout` of wall time. Returns whether `done()` held.
    template <typename Predicate>
    bool drainUntil(Predicate done, std::chrono::milliseconds timeout = std::chrono::seconds(30)) {
        const auto deadline = std::chrono::steady_clock::now() + timeout;
        while (true) {
            drain();
            if (done()) return true;
            if (std::chrono::steady_clock::now() >= deadline) return false;
            // Background work may end without posting anything, so wake up
            // now and then to test `done()` again.
            std::unique_lock lock(mutex_);
            arrived_.wait_for(lock, std::chrono::milliseconds(2), [&] { return !ready_.empty(); });
        }
    }

    // Moves the queue's clock forward; delayed steps that fall due become ready.
    void advance(std::chrono::milliseconds by);

    std::size_t pendingDelayed() const;

    // The longest single step run so far, for responsiveness measurements.
    std::chrono::nanoseconds longestStep() const { return longest_; }
    // The time every step run so far took together: the main thread's share of the work.
    std::chrono::nanoseconds busyTime() const { return busy_; }

  private:
    struct Delayed {
        std::chrono::milliseconds due;
        Step step;
    };

    mutable std::mutex mutex_;
    std::condition_variable arrived_;
    std::deque<Step> ready_;
    std::vector<Delayed> delayed_;
    std::chrono::milliseconds now_{0};
    std::chrono::nanoseconds longest_{0};
    std::chrono::nanoseconds busy_{0};
};

}  // namespace kelvane
