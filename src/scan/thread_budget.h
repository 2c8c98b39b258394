#pragma once

#include <mutex>
#include <optional>

namespace kelvane {

// How many threads may walk the disk at once in the whole process. Every walk draws from one
// budget, so four category scans on a two-core machine share two shares instead of starting
// eight threads; a walk's calling thread runs even when no share is left (it is already
// running), so only the extra threads a walk starts depend on it.
class ThreadBudget {
  public:
    // A held share. Move-only; goes back to the budget when destroyed. The budget must
    // outlive its shares.
    class Share {
      public:
        Share(Share&& other) noexcept;
        Share& operator=(Share&& other) noexcept;
        Share(const Share&) = delete;
        Share& operator=(const Share&) = delete;
        ~Share();

      private:
        friend class ThreadBudget;
        explicit Share(ThreadBudget* budget) : budget_(budget) {}
        void giveBack();
        ThreadBudget* budget_;
    };

    explicit ThreadBudget(int threads);
    ThreadBudget(const ThreadBudget&) = delete;
    ThreadBudget& operator=(const ThreadBudget&) = delete;

    // The process's budget: as many shares as the processors this process may run on.
    static ThreadBudget& process();

    // A share when one is free; never waits.
    std::optional<Share> tryTake();

    int size() const { return size_; }
    int available() const;

  private:
    const int size_;
    mutable std::mutex mutex_;
    int free_;
};

}  // namespace kelvane
