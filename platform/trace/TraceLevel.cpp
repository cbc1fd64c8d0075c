// Reads PLYX_DEBUG_LEVEL. Whatever the variable holds, the program that traces goes on.
#include "TraceLevel.h"

#include <strings.h>

#include <array>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

constexpr char kVariable[] = "PLYX_DEBUG_LEVEL";

constexpr std::array<const char*, DLVL_NUM_LEVELS> kLevelNames = {
    "undefined", "critical",  "error", "warning", "trace", "info",
    "info_2",    "trace_arg", "diag1", "diag2",   "diag3", "tools",
};

bool EqualsIgnoringCase(std::string_view text, std::string_view name) {
    return text.size() == name.size() && strncasecmp(text.data(), name.data(), text.size()) == 0;
}

std::optional<DebugLevel> ParseLevel(std::string_view text) {
    for (std::size_t level = 0; level < kLevelNames.size(); ++level) {
        if (EqualsIgnoringCase(text, kLevelNames[level])) {
            return static_cast<DebugLevel>(level);
        }
    }
    unsigned level = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, level);
    if (error != std::errc() || stop != end || level >= DLVL_NUM_LEVELS) {
        return std::nullopt;
    }
    return static_cast<DebugLevel>(level);
}

}  // namespace

std::optional<TraceConfig> ParseTraceConfig(std::string_view text) {
    if (EqualsIgnoringCase(text, "none")) {
        return TraceConfig{.threshold = DLVL_UNDEFINED, .silent = true};
    }
    const std::optional<DebugLevel> level = ParseLevel(text);
    if (!level) {
        return std::nullopt;
    }
    return TraceConfig{.threshold = *level, .silent = false};
}

TraceConfig TraceConfigFromEnvironment() {
    const char* const text = std::getenv(kVariable);
    if (text == nullptr || *text == '\0') {
        return {};
    }
    const std::optional<TraceConfig> config = ParseTraceConfig(text);
    if (!config) {
        std::fprintf(stderr,
                     "%s: not a debug level, error is used; set none, a number from 0 to %d, or a "
                     "name such as warning, info, diag1 or diag2\n",
                     kVariable, DLVL_NUM_LEVELS - 1);
        return {};
    }
    return *config;
}
