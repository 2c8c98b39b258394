#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <mutex>

namespace kelvane {

// Bounds how many category scans walk the disk at once. Callers wait first in, first out: a
// released slot goes straight to the oldest waiter, never back to the pool while someone waits,
// so a newcomer can never overtake a queued scan.
//
// Waiting is deliberately not abortable: a cancelled scan stays queued until its turn comes, takes
// the slot, notices the cancellation before walking anything and gives the slot back. That keeps
// the queue order simple and costs the cancelled task only a short wait.
class ScanLimiter {
  public:
    static constexpr int kDefaultLimit = 4;

    // A held slot. Move-only; gives the slot back exactly once, when released explicitly or
    // destroyed, whichever comes first. The limiter must outlive its slots.
    class Slot {
      public:
        Slot(Slot&& other) noexcept;
        Slot& operator=(Slot&& other) noexcept;
        Slot(const Slot&) = delete;
        Slot& operator=(const Slot&) = delete;
        ~Slot();

        // Gives the slot back now; later calls and the destructor do nothing.
        void release();
        bool held() const { return limiter_ != nullptr; }

      private:
        friend class ScanLimiter;
        explicit Slot(ScanLimiter* limiter) : limiter_(limiter) {}
        ScanLimiter* limiter_;
    };

    explicit ScanLimiter(int limit = kDefaultLimit);
    ScanLimiter(const ScanLimiter&) = delete;
    ScanLimiter& operator=(const ScanLimiter&) = delete;

    // Blocks until the caller holds a slot.
    [[nodiscard]] Slot acquire();

    // Slots currently held (a slot handed from a releasing holder to a waiter stays counted).
    int active() const;
    // Callers currently blocked in acquire().
    std::size_t waiting() const;
    int limit() const { return limit_; }

  private:
    struct Waiter {
        bool granted = false;
        std::condition_variable wake;
    };

    void release();

    const int limit_;
    mutable std::mutex mutex_;
    int running_ = 0;
    std::deque<Waiter*> waiters_;  // oldest first; each lives on its blocked caller's stack
};

}  // namespace kelvane
