#include "model/tasks.h"

#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <future>
#include <thread>

namespace kelvane {
namespace {

// Lowers the calling thread's CPU priority (nice 10) and puts its disk I/O in
// the lowest best-effort class, so a launch scan never makes the window or a
// listing wait. Failures are harmless: the scan just runs at normal priority.
void lowerCurrentThreadPriority() {
    const auto tid = static_cast<id_t>(syscall(SYS_gettid));
    (void)setpriority(PRIO_PROCESS, tid, 10);
#ifdef SYS_ioprio_set
    constexpr int kWhoProcess = 1;  // IOPRIO_WHO_PROCESS: a thread id counts as a process here
    constexpr int kClassBestEffort = 2;
    constexpr int kClassShift = 13;
    constexpr int kLowestLevel = 7;
    (void)syscall(SYS_ioprio_set, kWhoProcess, static_cast<int>(tid),
                  (kClassBestEffort << kClassShift) | kLowestLevel);
#endif
}

std::atomic<std::size_t> running{0};

}  // namespace

std::size_t runningTaskCount() {
    return running.load();
}

TaskHandle startDetached(TaskPriority priority, std::function<void(const TaskHandle&)> work) {
    TaskHandle handle;
    running.fetch_add(1);
    std::thread([priority, handle, work = std::move(work)]() mutable {
        if (priority == TaskPriority::utility) lowerCurrentThreadPriority();
        {
            // Everything the work captured is released before the task counts
            // as finished.
            const auto local = std::move(work);
            local(handle);
        }
        running.fetch_sub(1);
    }).detach();
    return handle;
}

void MainQueue::postAndWait(Step step) {
    auto done = std::make_shared<std::promise<void>>();
    std::future<void> finished = done->get_future();
    post([step = std::move(step), done] {
        step();
        done->set_value();
    });
    finished.wait();
}

}  // namespace kelvane
