#include "scan/thread_budget.h"

#include <sched.h>

#include <algorithm>
#include <thread>
#include <utility>

namespace kelvane {
namespace {

// The processors this process may run on (its affinity mask, which containers and taskset
// narrow), rather than every processor the machine has.
int usableProcessors() {
    cpu_set_t set;
    CPU_ZERO(&set);
    if (::sched_getaffinity(0, sizeof set, &set) == 0) return std::max(1, CPU_COUNT(&set));
    return std::max(1, static_cast<int>(std::thread::hardware_concurrency()));
}

}  // namespace

ThreadBudget::Share::Share(Share&& other) noexcept
    : budget_(std::exchange(other.budget_, nullptr)) {}

ThreadBudget::Share& ThreadBudget::Share::operator=(Share&& other) noexcept {
    if (this != &other) {
        giveBack();
        budget_ = std::exchange(other.budget_, nullptr);
    }
    return *this;
}

ThreadBudget::Share::~Share() {
    giveBack();
}

void ThreadBudget::Share::giveBack() {
    if (ThreadBudget* const budget = std::exchange(budget_, nullptr)) {
        const std::lock_guard guard(budget->mutex_);
        ++budget->free_;
    }
}

ThreadBudget::ThreadBudget(int threads) : size_(std::max(1, threads)), free_(size_) {}

ThreadBudget& ThreadBudget::process() {
    static ThreadBudget budget(usableProcessors());
    return budget;
}

std::optional<ThreadBudget::Share> ThreadBudget::tryTake() {
    const std::lock_guard guard(mutex_);
    if (free_ == 0) return std::nullopt;
    --free_;
    return Share(this);
}

int ThreadBudget::available() const {
    const std::lock_guard guard(mutex_);
    return free_;
}

}  // namespace kelvane
