// What the texts of a fleet file mean.
#include "fleet/FleetValues.h"

#include <charconv>
#include <cstdio>
#include <string>
#include <utility>

namespace simulated {

namespace {

// The whole text is a number without sign, at most `max`.
template <typename Number>
bool ParseNumber(std::string_view text, int base, Number max, Number& out) {
    const auto result = std::from_chars(text.begin(), text.end(), out, base);
    return result.ec == std::errc() && result.ptr == text.end() && out <= max;
}

}  // namespace

std::optional<PcieAddress> ParsePcieAddress(std::string_view text) {
    if (text.size() != 12 || text[4] != ':' || text[7] != ':' || text[10] != '.')
        return std::nullopt;
    PcieAddress address;
    U8 function = 0;
    U32 domain = 0;
    if (!ParseNumber(text.substr(0, 4), 16, 0xFFFFU, domain) ||
        !ParseNumber(text.substr(5, 2), 16, U8{0xFF}, address.bus) ||
        !ParseNumber(text.substr(8, 2), 16, U8{0x1F}, address.device) ||
        !ParseNumber(text.substr(11, 1), 16, U8{7}, function))
        return std::nullopt;
    address.domain = domain;
    address.function = function;
    return address;
}

std::optional<U32> ParseFirmware(std::string_view text) {
    const std::size_t first = text.find('.');
    const std::size_t second = first == text.npos ? first : text.find('.', first + 1);
    if (second == text.npos)
        return std::nullopt;
    U32 major = 0;
    U32 minor = 0;
    U32 build = 0;
    if (!ParseNumber(text.substr(0, first), 10, 0xFFU, major) ||
        !ParseNumber(text.substr(first + 1, second - first - 1), 10, 0xFFU, minor) ||
        !ParseNumber(text.substr(second + 1), 10, 0xFFFFU, build))
        return std::nullopt;
    return major << 24 | minor << 16 | build;
}

std::string FirmwareText(U32 firmware) {
    return std::to_string(firmware >> 24) + "." + std::to_string(firmware >> 16 & 0xFF) + "." +
           std::to_string(firmware & 0xFFFF);
}

std::optional<Uuid> ParseUuid(std::string_view text) {
    constexpr std::string_view kShape = "xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx";
    if (text.size() != kShape.size())
        return std::nullopt;
    std::string digits;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if ((kShape[i] == '-') != (text[i] == '-'))
            return std::nullopt;
        if (text[i] != '-')
            digits += text[i];
    }
    Uuid uuid{};
    for (std::size_t i = 0; i < uuid.size(); ++i) {
        if (!ParseNumber(std::string_view(digits).substr(2 * i, 2), 16, U8{0xFF}, uuid[i]))
            return std::nullopt;
    }
    return uuid;
}

std::string UuidText(Uuid uuid) {
    std::string text;
    for (std::size_t i = 0; i < uuid.size(); ++i) {
        char byte[3];
        std::snprintf(byte, sizeof(byte), "%02x", uuid[i]);
        text += (i == 4 || i == 6 || i == 8 || i == 10 ? "-" : "") + std::string(byte);
    }
    return text;
}

std::optional<U64> ParseMemorySize(std::string_view text) {
    constexpr std::pair<std::string_view, int> kUnits[] = {{"KiB", 10}, {"MiB", 20}, {"GiB", 30}};
    for (const auto& [unit, shift] : kUnits) {
        if (!text.ends_with(unit))
            continue;
        U64 number = 0;
        const auto digits = text.substr(0, text.size() - unit.size());
        if (!ParseNumber(digits, 10, kMaxMemoryBytes >> shift, number))
            return std::nullopt;
        return number << shift;
    }
    return std::nullopt;
}

std::optional<U32> ParseTime(std::string_view text) {
    // Two end in the same letter: the longer one first.
    constexpr std::pair<std::string_view, U32> kUnits[] = {
        {"ms", 1}, {"s", 1000}, {"min", 60 * 1000}, {"h", 60 * 60 * 1000}};
    for (const auto& [unit, milliseconds] : kUnits) {
        if (!text.ends_with(unit))
            continue;
        U32 number = 0;
        const auto digits = text.substr(0, text.size() - unit.size());
        if (!ParseNumber(digits, 10, kMaxMilliseconds / milliseconds, number))
            return std::nullopt;
        return number * milliseconds;
    }
    return std::nullopt;
}

std::string TimeText(U32 milliseconds) {
    return std::to_string(milliseconds) + "ms";
}

std::optional<U64> ParseHexadecimal(std::string_view text) {
    U64 value = 0;
    if (!text.starts_with("0x") || !ParseNumber(text.substr(2), 16, ~U64{0}, value))
        return std::nullopt;
    return value;
}

}  // namespace simulated
