// What the environment variable PLYX_DEBUG_LEVEL asks for.
#pragma once

#include <optional>
#include <string_view>

#include "PlyxDebug.h"

struct TraceConfig {
    DebugLevel threshold = DLVL_ERROR;
    bool silent = false;  // "none": nothing is printed, records only go to the callback
};

// A level's number, or its name without prefix in any letter case, or "none"; nothing when `text` is
// neither.
std::optional<TraceConfig> ParseTraceConfig(std::string_view text);

// The configuration from the environment. A value that is not understood is reported in one line on
// standard error and changes nothing.
TraceConfig TraceConfigFromEnvironment();
