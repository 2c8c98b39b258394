#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

#include "scan/scan_limiter.h"

using namespace kelvane;

namespace {

// Polls until `condition` holds, for at most a few seconds; threads are real, so this is the
// only way to observe that one of them has queued.
bool eventually(const std::function<bool()>& condition) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

}  // namespace

TEST(ScanLimiter, SlotsReleaseExactlyOnce) {
    ScanLimiter limiter;
    {
        std::vector<ScanLimiter::Slot> slots;
        for (int i = 0; i < 4; ++i) slots.push_back(limiter.acquire());
        EXPECT_EQ(limiter.active(), 4);

        ScanLimiter::Slot moved = std::move(slots[0]);
        EXPECT_FALSE(slots[0].held());
        moved.release();
        moved.release();
        EXPECT_EQ(limiter.active(), 3);

        slots[1] = std::move(slots[2]);  // the overwritten slot goes back, the moved one does not
        EXPECT_EQ(limiter.active(), 2);
    }
    EXPECT_EQ(limiter.active(), 0);
}

TEST(ScanLimiter, WaitersAreServedFirstInFirstOutByHandoff) {
    ScanLimiter limiter;
    std::vector<ScanLimiter::Slot> held;
    for (int i = 0; i < 4; ++i) held.push_back(limiter.acquire());

    std::mutex mutex;
    std::vector<int> served;
    std::vector<ScanLimiter::Slot> passedOn;
    std::vector<std::jthread> waiters;
    for (int id = 0; id < 3; ++id) {
        waiters.emplace_back([&, id] {
            ScanLimiter::Slot slot = limiter.acquire();
            const std::lock_guard guard(mutex);
            served.push_back(id);
            passedOn.push_back(std::move(slot));
        });
        // Queue them one by one so their order is known.
        ASSERT_TRUE(
            eventually([&] { return limiter.waiting() == static_cast<std::size_t>(id + 1); }));
    }

    for (std::size_t round = 1; round <= 3; ++round) {
        held.pop_back();  // one release hands its slot to the oldest waiter
        ASSERT_TRUE(eventually([&] {
            const std::lock_guard guard(mutex);
            return served.size() == round;
        }));
        EXPECT_EQ(limiter.active(), 4);
        EXPECT_EQ(limiter.waiting(), 3 - round);
    }
    EXPECT_EQ(served, (std::vector<int>{0, 1, 2}));
    waiters.clear();

    held.pop_back();  // nobody waits: the count drops
    EXPECT_EQ(limiter.active(), 3);
    passedOn.clear();
    EXPECT_EQ(limiter.active(), 0);
}
