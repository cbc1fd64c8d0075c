// The clock of a simulated host: the kernel's own, asked past whatever stands in front of it.
#include "host/HostClock.h"

#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>

namespace simulated {

namespace {

constexpr U64 kPerSecond = 1'000'000;
constexpr U64 kNanoseconds = 1000;

}  // namespace

U64 HostClock() {
    timespec now{};
    syscall(SYS_clock_gettime, CLOCK_MONOTONIC, &now);
    return static_cast<U64>(now.tv_sec) * kPerSecond + static_cast<U64>(now.tv_nsec) / kNanoseconds;
}

void SleepUntil(U64 time) {
    const timespec end{static_cast<time_t>(time / kPerSecond),
                       static_cast<long>(time % kPerSecond * kNanoseconds)};
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &end, nullptr) == EINTR) {
    }
}

}  // namespace simulated
