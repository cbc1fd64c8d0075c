// How a call and what it is told show in the journal: NAME(ARGUMENTS), see Calls.def.
#pragma once

#include <cinttypes>
#include <cstdio>
#include <string>
#include <type_traits>

#include "FakeZelAccess.h"
#include "Journal.h"
#include "vorl.h"

namespace fakes {

// An address or an offset.
struct Place {
    U64 value;
};
template <typename Number>
Place at(Number value) {
    return {static_cast<U64>(value)};
}

inline std::string Text(const Place& place) {
    char text[24];
    std::snprintf(text, sizeof text, "0x%" PRIX64, place.value);
    return text;
}
inline std::string Text(const char* text) {
    return text == nullptr ? "null" : Quote(text);
}
inline std::string Text(const vorl_portID& port) {
    return std::to_string(port.node) + ":" + std::to_string(port.port);
}
inline std::string Text(const ZelDeviceOnSystem* device) {
    return std::to_string(ZelAccess().IndexOf(device));
}
template <typename Number>
requires std::is_arithmetic_v<Number> || std::is_enum_v<Number> std::string Text(Number number) {
    return std::to_string(number);
}

template <typename... Values>
std::string Told(const Values&... values) {
    std::string list;
    ((list += (list.empty() ? "" : ", ") + Text(values)), ...);
    return list;
}

}  // namespace fakes
