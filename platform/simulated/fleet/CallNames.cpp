// The calls of the simulated libraries.
#include "fleet/CallNames.h"

#include <algorithm>

#include "Calls.h"

namespace simulated {

const std::vector<std::string>& CallNames() {
    static const std::vector<std::string> names = [] {
        std::vector<std::string> found;
        for (const PlatformCall& call : kPlatformCalls) {
            if (call.fault != CallFault::Never)
                found.emplace_back(call.name);
        }
        return found;
    }();
    return names;
}

bool IsCall(std::string_view name) {
    const auto& names = CallNames();
    return std::find(names.begin(), names.end(), name) != names.end();
}

bool IsHostCall(std::string_view name) {
    return std::any_of(kPlatformCalls.begin(), kPlatformCalls.end(), [=](const PlatformCall& call) {
        return call.name == name && call.fault == CallFault::Host;
    });
}

}  // namespace simulated
