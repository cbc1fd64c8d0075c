#include "inventory/Field.h"

#include <fmt/format.h>
#include <toml++/toml.h>

#include <cstdint>
#include <sstream>

namespace zelhealth {

namespace {

using Kind = Field::Kind;

// A card of another maker's number, or with less of anything, is not the one that jobs count on. Firmware
// drifts, and a card that was replaced is to be told, not drained. An idle link may run slowly, so that its
// speed is the business of the test that waits for it.
constexpr Field kFields[] = {
    {"uuid", "/uuid", Kind::text, Policy::warn, true, "uuid"},
    {"generation", "/generation", Kind::text, Policy::fail, true, "generation"},
    {"device_id", "/device_id", Kind::id, Policy::fail, false, "device id"},
    {"subsystem_id", "/subsystem_id", Kind::id, Policy::fail, false, "subsystem id"},
    {"revision_id", "/revision_id", Kind::id, Policy::warn, false, "revision id"},
    {"flash", "/firmware/flash", Kind::text, Policy::warn, false, "flash version"},
    {"smc", "/firmware/smc", Kind::text, Policy::warn, false, "SMC version"},
    {"cores", "/cores", Kind::number, Policy::fail, false, "number of cores"},
    {"threads", "/threads", Kind::number, Policy::fail, false, "number of threads"},
    {"memory_size", "/memory_size", Kind::bytes, Policy::fail, false, "memory"},
    {"link_width", "/link/width", Kind::number, Policy::fail, false, "number of lanes"},
    {"link_speed", "/link/speed", Kind::text, Policy::ignore, false, "link speed"},
    {"mode", "/mode", Kind::text, std::nullopt, true, "usage mode"},
};

std::string ShowBytes(std::uint64_t bytes) {
    constexpr std::uint64_t kMiB = 1024UL * 1024;
    constexpr std::uint64_t kGiB = 1024UL * kMiB;
    return bytes % kGiB == 0   ? fmt::format("{} GiB", bytes / kGiB)
           : bytes % kMiB == 0 ? fmt::format("{} MiB", bytes / kMiB)
                               : fmt::format("{} bytes", bytes);
}

}  // namespace

int StatusOf(Policy policy) {
    switch (policy) {
        case Policy::ignore:
            return 0;
        case Policy::warn:
            return 1;
        case Policy::fail:
            break;
    }
    return 2;
}

std::span<const Field> Fields() {
    return kFields;
}

std::optional<std::string> ValueOf(const Field& field, const nlohmann::json& facts) {
    const nlohmann::json::json_pointer place(field.fact);
    if (!facts.contains(place)) {
        return std::nullopt;
    }
    const nlohmann::json& value = facts[place];
    if (value.is_number_unsigned()) {
        return std::to_string(value.get<std::uint64_t>());
    }
    return value.is_string() ? std::optional(value.get<std::string>()) : std::nullopt;
}

std::string Show(const Field& field, const std::string& value) {
    if (field.kind == Kind::id) {
        return fmt::format("{:#x}", std::stoull(value));
    }
    return field.kind == Kind::bytes ? ShowBytes(std::stoull(value)) : value;
}

std::string InToml(const Field& field, const std::string& value) {
    if (field.kind == Kind::id) {
        return fmt::format("{:#x}", std::stoull(value));
    }
    if (field.kind != Kind::text) {
        return value;
    }
    std::ostringstream quoted;
    quoted << toml::toml_formatter(toml::value<std::string>(value), toml::format_flags::none);
    return quoted.str();
}

}  // namespace zelhealth
