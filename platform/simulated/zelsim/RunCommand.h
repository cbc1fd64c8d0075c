// Runs a command on a simulated host.
#pragma once

#include <string>

#include "fleet/Fleet.h"

namespace simulated {

// Exit statuses of zelsim run beside those of the command.
inline constexpr int kOwnFailure = 125;
inline constexpr int kNotExecutable = 126;
inline constexpr int kNoSuchCommand = 127;

// Makes a host of the fleet, runs `command` (null-terminated) on it and returns the status with which
// zelsim is to end: the command's, or 128 and the number of the signal that ended it.
int RunOnHost(const Fleet& fleet, const std::string& programFolder, char* const* command);

}  // namespace simulated
