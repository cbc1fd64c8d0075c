// Preloaded into the programs of an end-to-end case, so that a case does not wait for real seconds:
// sleep returns at once, and the clocks of the process run ahead by what it would have waited. A case
// that sleeps while another process works sets ZELDIAG_SLEEP_PART=N: sleep then waits the Nth part.
//
// Only sleep is replaced: short waits (usleep, nanosleep, time-outs of polls) are for other
// processes, which need the time.
#include <pthread.h>
#include <sched.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <time.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>

namespace {

constexpr long kNanosecondsPerMicrosecond = 1000;

constexpr long kNanosecondsPerSecond = 1000000000;

std::atomic<long> sleptSeconds{0};

// 0: no part of the time.
long SleepPart() {
    const char* const part = std::getenv("ZELDIAG_SLEEP_PART");
    return part == nullptr ? 0 : std::atol(part);
}

void WaitPart(unsigned seconds) {
    static const long part = SleepPart();
    if (part <= 0) {
        return;
    }
    const long nanoseconds = seconds * kNanosecondsPerSecond / part;
    const timespec wait{nanoseconds / kNanosecondsPerSecond, nanoseconds % kNanosecondsPerSecond};
    nanosleep(&wait, nullptr);
}

bool RunsAhead(clockid_t clock) {
    return clock == CLOCK_REALTIME || clock == CLOCK_MONOTONIC || clock == CLOCK_REALTIME_COARSE ||
           clock == CLOCK_MONOTONIC_COARSE || clock == CLOCK_MONOTONIC_RAW ||
           clock == CLOCK_BOOTTIME;
}

// The kernel's own answer: the way through libc may be that of another preloaded library.
int Now(clockid_t clock, timespec* now) {
    const int status = static_cast<int>(syscall(SYS_clock_gettime, clock, now));
    if (status == 0 && RunsAhead(clock)) {
        now->tv_sec += sleptSeconds;
    }
    return status;
}

}  // namespace

// libc declares its parameters with reserved names.
// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name)
extern "C" {

unsigned sleep(unsigned seconds) {
    WaitPart(seconds);
    sleptSeconds += seconds;
    pthread_testcancel();  // a thread can be cancelled in its sleep
    sched_yield();
    return 0;
}

int clock_gettime(clockid_t clock, timespec* now) noexcept {
    return Now(clock, now);
}

int gettimeofday(timeval* now, void* /*zone*/) noexcept {
    timespec precise{};
    if (Now(CLOCK_REALTIME, &precise) != 0) {
        return -1;
    }
    now->tv_sec = precise.tv_sec;
    now->tv_usec = precise.tv_nsec / kNanosecondsPerMicrosecond;
    return 0;
}

time_t time(time_t* copy) noexcept {
    timespec now{};
    if (Now(CLOCK_REALTIME, &now) != 0) {
        return -1;
    }
    if (copy != nullptr) {
        *copy = now.tv_sec;
    }
    return now.tv_sec;
}

}  // extern "C"
// NOLINTEND(readability-inconsistent-declaration-parameter-name)
