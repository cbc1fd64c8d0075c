// What the texts of a fleet file mean, and the texts for what they mean. Nothing is guessed: a text that does
// not have its shape to the last character is no value.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "fleet/CardFacts.h"

namespace simulated {

inline constexpr U64 kMaxMemoryBytes = U64{64} << 30;
inline constexpr U32 kMaxMilliseconds = 24 * 60 * 60 * 1000;

// "0000:02:00.0": domain, bus, device and function, hexadecimal.
std::optional<PcieAddress> ParsePcieAddress(std::string_view text);

// "1.16.42" as the SMC reports it: major, minor and build number in 8, 8 and 16 bits.
std::optional<U32> ParseFirmware(std::string_view text);
std::string FirmwareText(U32 firmware);

// "00112233-4455-6677-8899-aabbccddeeff"
std::optional<Uuid> ParseUuid(std::string_view text);
std::string UuidText(Uuid uuid);

// "512KiB", "64MiB", "8GiB": bytes, at most kMaxMemoryBytes.
std::optional<U64> ParseMemorySize(std::string_view text);

// "250ms", "3s", "5min", "24h": milliseconds, at most kMaxMilliseconds.
std::optional<U32> ParseTime(std::string_view text);
std::string TimeText(U32 milliseconds);  // in the smallest unit

// "0xFFFFFFFFFFFFFFFF"
std::optional<U64> ParseHexadecimal(std::string_view text);

}  // namespace simulated
