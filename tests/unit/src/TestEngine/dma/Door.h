// A door that threads wait at until the test opens it.
#pragma once

#include <condition_variable>
#include <mutex>

class Door {
public:
    void Open() {
        const std::lock_guard lock(lock_);
        open_ = true;
        changed_.notify_all();
    }
    void Close() {
        const std::lock_guard lock(lock_);
        open_ = false;
    }
    void Await() {
        std::unique_lock lock(lock_);
        changed_.wait(lock, [this] { return open_; });
    }

private:
    std::mutex lock_;
    std::condition_variable changed_;
    bool open_ = false;
};
