// Which generation a card is of: its name alone tells.
#pragma once

#include <string>
#include <string_view>

#include "ZelAccessApi.h"

namespace zelcard {

inline std::string_view MarketingName(const ZelDeviceOnSystem& device) {
    const std::string_view all(reinterpret_cast<const char*>(device.deviceName),
                               sizeof(device.deviceName));
    return all.substr(0, all.find('\0'));
}

inline bool IsCurrentGeneration(const ZelDeviceOnSystem& device) {
    return MarketingName(device).starts_with("Ostrel(R) Vimbra(TM) Coprocessor");
}

// "er1x" (current), "ev1x" (older), or "unknown" for a name that is neither's.
inline std::string GenerationName(const ZelDeviceOnSystem& device) {
    if (IsCurrentGeneration(device))
        return "er1x";
    const bool older =
        MarketingName(device).starts_with("Ostrel(R) Vimbra(TM) Software Development Vehicle");
    return older ? "ev1x" : "unknown";
}

}  // namespace zelcard
