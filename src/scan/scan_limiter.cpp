#include "scan/scan_limiter.h"

#include <utility>

namespace kelvane {

ScanLimiter::Slot::Slot(Slot&& other) noexcept : limiter_(std::exchange(other.limiter_, nullptr)) {}

ScanLimiter::Slot& ScanLimiter::Slot::operator=(Slot&& other) noexcept {
    if (this != &other) {
        release();
        limiter_ = std::exchange(other.limiter_, nullptr);
    }
    return *this;
}

ScanLimiter::Slot::~Slot() {
    release();
}

void ScanLimiter::Slot::release() {
    if (ScanLimiter* const limiter = std::exchange(limiter_, nullptr)) limiter->release();
}

ScanLimiter::ScanLimiter(int limit) : limit_(limit) {}

ScanLimiter::Slot ScanLimiter::acquire() {
    std::unique_lock guard(mutex_);
    if (running_ < limit_) {
        ++running_;
        return Slot(this);
    }
    Waiter self;
    waiters_.push_back(&self);
    self.wake.wait(guard, [&self] { return self.granted; });
    // The releasing holder passed its slot on; `running_` already counts it.
    return Slot(this);
}

void ScanLimiter::release() {
    const std::lock_guard guard(mutex_);
    if (waiters_.empty()) {
        --running_;
        return;
    }
    Waiter* const next = waiters_.front();
    waiters_.pop_front();
    next->granted = true;
    // Notified under the lock: once the waiter sees `granted` it returns and its Waiter (and the
    // condition variable in it) is gone, so the notify must not outlive our hold on the mutex.
    next->wake.notify_one();
}

int ScanLimiter::active() const {
    const std::lock_guard guard(mutex_);
    return running_;
}

std::size_t ScanLimiter::waiting() const {
    const std::lock_guard guard(mutex_);
    return waiters_.size();
}

}  // namespace kelvane
