// Replaces the time functions at link time: definitions in the program come before those of libc.
#include "FakeClock.h"

#include <pthread.h>
#include <sched.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>
#include <string>
#include <utility>

#include "Journal.h"

namespace fakes {

namespace {

constexpr std::int64_t kMicrosecondsPerSecond = 1000000;
constexpr std::int64_t kNanosecondsPerMicrosecond = 1000;

std::atomic<uid_t> effectiveUser{0};

void Note(const char* function, std::int64_t amount) {
    TheJournal().Add(std::string(function) + "(" + std::to_string(amount) + ")");
}

}  // namespace

FakeClock& Clock() {
    static FakeClock* const clock = new FakeClock;  // outlives every static object of the program
    return *clock;
}

void FakeClock::OnSleep(std::function<void(unsigned)> action) {
    const std::lock_guard lock(lock_);
    onSleep_ = std::move(action);
}

void FakeClock::Sleep(std::int64_t microseconds) {
    Advance(microseconds);
    std::function<void(unsigned)> action;
    {
        const std::lock_guard lock(lock_);
        action = onSleep_;
    }
    if (action) {
        action(static_cast<unsigned>(microseconds / kMicrosecondsPerSecond));
    }
    pthread_testcancel();
    sched_yield();
}

void FakeClock::Reset() {
    OnSleep(nullptr);
    now_ = kStartMicroseconds;
    broken_ = false;
    effectiveUser = 0;
}

void SetEffectiveUser(uid_t user) {
    effectiveUser = user;
}

}  // namespace fakes

// libc declares its parameters with reserved names.
// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name)
extern "C" {

unsigned sleep(unsigned seconds) {
    fakes::Note("sleep", seconds);
    fakes::Clock().Sleep(seconds * fakes::kMicrosecondsPerSecond);
    return 0;
}

int usleep(useconds_t microseconds) {
    fakes::Note("usleep", microseconds);
    fakes::Clock().Sleep(microseconds);
    return 0;
}

int nanosleep(const timespec* wanted, timespec* remaining) {
    const std::int64_t microseconds = wanted->tv_sec * fakes::kMicrosecondsPerSecond +
                                      wanted->tv_nsec / fakes::kNanosecondsPerMicrosecond;
    fakes::Note("nanosleep_us", microseconds);
    fakes::Clock().Sleep(microseconds);
    if (remaining != nullptr) {
        *remaining = {};
    }
    return 0;
}

int gettimeofday(timeval* time, void* /*zone*/) noexcept {
    if (fakes::Clock().Broken()) {
        errno = EINVAL;
        return -1;
    }
    const std::int64_t now = fakes::Clock().Microseconds();
    time->tv_sec = now / fakes::kMicrosecondsPerSecond;
    time->tv_usec = now % fakes::kMicrosecondsPerSecond;
    return 0;
}

time_t time(time_t* copy) noexcept {
    const time_t now = fakes::Clock().Microseconds() / fakes::kMicrosecondsPerSecond;
    if (copy != nullptr) {
        *copy = now;
    }
    return now;
}

uid_t geteuid() noexcept {
    return fakes::effectiveUser;
}

}  // extern "C"
// NOLINTEND(readability-inconsistent-declaration-parameter-name)
