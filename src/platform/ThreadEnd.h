#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string_view>

namespace lxhf {

// Lets an owner wait a bounded time for one of its threads to finish, so a
// stuck thread never freezes the host on its way out. The thread marks its
// end last thing; the owner joins only after seeing it, or abandons the
// thread, which then frees what it uses itself when it does end.
class ThreadEnd {
public:
    // On the thread, last thing: true when the owner has abandoned it.
    bool markEnded() {
        std::lock_guard<std::mutex> lock(mutex_);
        ended_ = true;
        changed_.notify_all();
        return abandoned_;
    }
    bool waitFor(std::chrono::milliseconds limit) {
        std::unique_lock<std::mutex> lock(mutex_);
        return changed_.wait_for(lock, limit, [this] { return ended_; });
    }
    // False when the thread ended after all, so the owner joins it as usual.
    bool abandon() {
        std::lock_guard<std::mutex> lock(mutex_);
        if (ended_) return false;
        abandoned_ = true;
        return true;
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    bool ended_ = false;
    bool abandoned_ = false;
};

// Logs, as an error in the system log, that `thread` did not end within `limit`.
void logThreadLeftRunning(std::string_view thread, std::chrono::milliseconds limit);

}  // namespace lxhf
