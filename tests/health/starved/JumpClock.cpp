// A clock that stands still no longer than a few looks, and then jumps a day: ahead, back, and back again. Preloaded.
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <ctime>

// libc declares its parameters with reserved names.
// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name)
extern "C" int clock_gettime(clockid_t clock, timespec* time) noexcept {
    static std::atomic<unsigned> looks{0};
    constexpr unsigned kLooks = 5;
    constexpr std::array<long, 4> kDays = {0, 1, 0, -1};
    constexpr long kDay = 24L * 3600;
    const long status = syscall(SYS_clock_gettime, clock, time);
    if (clock == CLOCK_REALTIME)
        time->tv_sec += kDay * kDays[looks++ / kLooks % kDays.size()];
    return static_cast<int>(status);
}
