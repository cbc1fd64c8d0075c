// The calls of the simulated libraries.
#include "fleet/CallNames.h"

#include <algorithm>

namespace simulated {

const std::vector<std::string>& CallNames() {
    static const std::vector<std::string> names = {
        "ZelInitAPI",          "ZelCloseAPI",         "ZelInitAdapter",      "ZelCloseAdapter",
        "ZelGetZelVersion",    "ZelGetSMCFWVersion",  "ZelGetSMCHWRevision", "ZelGetUUID",
        "ZelGetUsageMode",     "ZelSetUsageMode",     "ZelSetUsageModeExtn", "ZelGetPostCode",
        "ZelGetPcieLinkSpeed", "ZelGetPcieLinkWidth", "ZelGetRevisionID",    "ZelGetSubSystemID",
        "ZelReadMMIOReg",      "ZelGetNumCores",      "ZelGetGDDRMemSize",   "ZelGetDevMemInfo",
        "ZelReadMemPhysical",  "ZelWriteMemPhysical", "vorl_open",           "vorl_close",
        "vorl_bind",           "vorl_listen",         "vorl_connect",        "vorl_accept",
        "vorl_send",           "vorl_recv",           "vorl_register",       "vorl_unregister",
        "vorl_writeto",        "vorl_readfrom",       "vorl_fence_mark",     "vorl_fence_wait",
    };
    return names;
}

bool IsCall(std::string_view name) {
    const auto& names = CallNames();
    return std::find(names.begin(), names.end(), name) != names.end();
}

bool IsHostCall(std::string_view name) {
    return name == "ZelInitAPI" || name == "ZelCloseAPI";
}

}  // namespace simulated
