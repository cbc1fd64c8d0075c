// A clock that only moves when the code under test sleeps, and a user of the test's choice.
//
// sleep, usleep, nanosleep, gettimeofday, time and geteuid of the whole test program are replaced: no
// test waits for real seconds. std::this_thread::sleep_for is nanosleep and returns at once as well.
#pragma once

#include <sys/types.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>

namespace fakes {

class FakeClock {
public:
    // 2024-01-02 03:04:05 UTC, where every test begins.
    static constexpr std::int64_t kStartMicroseconds = 1704164645'000000;

    std::int64_t Microseconds() const { return now_; }
    void Advance(std::int64_t microseconds) { now_ += microseconds; }

    // Called within every sleep, in the thread that sleeps, with the seconds asked for rounded down;
    // a test uses it to let another thread catch up, or to change something meanwhile.
    void OnSleep(std::function<void(unsigned seconds)> action);

    // gettimeofday fails from now on, and works again.
    void Break() { broken_ = true; }
    void Repair() { broken_ = false; }
    bool Broken() const { return broken_; }

    void Sleep(std::int64_t microseconds);
    void Reset();

private:
    std::atomic<std::int64_t> now_{kStartMicroseconds};
    std::atomic<bool> broken_{false};
    std::mutex lock_;
    std::function<void(unsigned)> onSleep_;
};

FakeClock& Clock();

// What geteuid answers; 0 (root) at the beginning of a test.
void SetEffectiveUser(uid_t user);

}  // namespace fakes
