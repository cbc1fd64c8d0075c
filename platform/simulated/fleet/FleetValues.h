// What the texts of a fleet file mean. Nothing is guessed: a text that does not have its shape to the
// last character is no value.
#pragma once

#include <array>
#include <optional>
#include <string_view>

#include "fleet/Fleet.h"

namespace simulated {

inline constexpr U64 kMaxMemoryBytes = U64{64} << 30;
inline constexpr U32 kMaxMilliseconds = 24 * 60 * 60 * 1000;

// "0000:02:00.0": domain, bus, device and function, hexadecimal.
std::optional<PcieAddress> ParsePcieAddress(std::string_view text);

// "1.16.42" as the SMC reports it: major, minor and build number in 8, 8 and 16 bits.
std::optional<U32> ParseFirmware(std::string_view text);

// "00112233-4455-6677-8899-aabbccddeeff"
std::optional<std::array<U8, 16>> ParseUuid(std::string_view text);

// "512KiB", "64MiB", "8GiB": bytes, at most kMaxMemoryBytes.
std::optional<U64> ParseMemorySize(std::string_view text);

// "250ms", "3s", "5min", "24h": milliseconds, at most kMaxMilliseconds.
std::optional<U32> ParseTime(std::string_view text);

// "0xFFFFFFFFFFFFFFFF"
std::optional<U64> ParseHexadecimal(std::string_view text);

std::optional<ZEL_CARD_USAGE_MODE> ParseUsageMode(std::string_view text);

// "up", "down" or "silent"
std::optional<SshState> ParseSshState(std::string_view text);

}  // namespace simulated
