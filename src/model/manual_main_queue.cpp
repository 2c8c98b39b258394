#include "model/manual_main_queue.h"

namespace kelvane {

void ManualMainQueue::post(Step step) {
    {
        const std::lock_guard lock(mutex_);
        ready_.push_back(std::move(step));
    }
    arrived_.notify_all();
}

void ManualMainQueue::postDelayed(std::chrono::milliseconds delay, Step step) {
    const std::lock_guard lock(mutex_);
    delayed_.push_back({now_ + delay, std::move(step)});
}

std::size_t ManualMainQueue::drain() {
    std::size_t ran = 0;
    while (true) {
        Step step;
        {
            const std::lock_guard lock(mutex_);
            if (ready_.empty()) return ran;
            step = std::move(ready_.front());
            ready_.pop_front();
        }
        const auto start = std::chrono::steady_clock::now();
        step();
        const auto took = std::chrono::steady_clock::now() - start;
        if (took > longest_) longest_ = took;
        busy_ += took;
        ++ran;
    }
}

void ManualMainQueue::advance(std::chrono::milliseconds by) {
    {
        const std::lock_guard lock(mutex_);
        now_ += by;
        for (auto it = delayed_.begin(); it != delayed_.end();) {
            if (it->due <= now_) {
                ready_.push_back(std::move(it->step));
                it = delayed_.erase(it);
            } else {
                ++it;
            }
        }
    }
    arrived_.notify_all();
}

std::size_t ManualMainQueue::pendingDelayed() const {
    const std::lock_guard lock(mutex_);
    return delayed_.size();
}

}  // namespace kelvane
