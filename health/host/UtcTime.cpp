// Writes points in time.
#include "host/UtcTime.h"

#include <fmt/chrono.h>

namespace zelhealth {

std::string UtcText(std::chrono::system_clock::time_point time) {
    using std::chrono::milliseconds;
    const auto sinceEpoch = std::chrono::floor<milliseconds>(time.time_since_epoch());
    const auto seconds = std::chrono::floor<std::chrono::seconds>(sinceEpoch);
    return fmt::format("{:%Y-%m-%dT%H:%M:%S}.{:03}Z", fmt::gmtime(seconds.count()),
                       (sinceEpoch - seconds).count());
}

}  // namespace zelhealth
