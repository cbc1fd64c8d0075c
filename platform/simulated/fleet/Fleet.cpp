// The cards of a fleet, and what a healthy card of each generation is.
#include "fleet/Fleet.h"

#include <cstdio>

namespace simulated {

namespace {

// Identities are invented.
constexpr U32 kEr1xDeviceId = 0x00501F5A;
constexpr U32 kEr1xSubsystemId = 0x00021F5A;
constexpr U32 kEr1xRevisionId = 0x20;
constexpr U32 kEv1xDeviceId = 0x00401F5A;
constexpr U32 kEv1xSubsystemId = 0x00011F5A;
constexpr U32 kEv1xRevisionId = 0x10;

constexpr U32 kFirstBus = 2;
constexpr U32 kBusesPerDomain = 0x100;

constexpr U32 Firmware(U32 major, U32 minor, U32 build) {
    return major << 24 | minor << 16 | build;
}

}  // namespace

const char* GenerationName(Generation generation) {
    for (const Named<Generation>& row : kGenerations) {
        if (row.value == generation)
            return row.name;
    }
    return "";
}

std::string ToText(PcieAddress address) {
    char text[32];
    std::snprintf(text, sizeof(text), "%04x:%02x:%02x.%x", address.domain, address.bus,
                  address.device, address.function);
    return text;
}

PcieAddress DefaultAddress(U32 index) {
    const U32 slot = index + kFirstBus;
    return {.domain = slot / kBusesPerDomain,
            .bus = static_cast<U8>(slot % kBusesPerDomain),
            .device = 0,
            .function = 0};
}

// Its last two bytes count the cards; no host has enough for them to overflow.
Uuid DefaultUuid(U32 index) {
    Uuid uuid{};
    for (U32 i = 0; i < uuid.size(); ++i)
        uuid[i] = static_cast<U8>(i * 0x11);
    const U32 last = (U32{uuid[14]} << 8 | uuid[15]) + index;
    uuid[14] = static_cast<U8>(last >> 8);
    uuid[15] = static_cast<U8>(last);
    return uuid;
}

Card DefaultCard(Generation generation) {
    Card card;
    card.generation = generation;
    card.smcFirmware = Firmware(1, 16, 42);
    card.uuid = DefaultUuid(0);
    if (generation == Generation::Er1x) {
        card.name = "Ostrel(R) Vimbra(TM) Coprocessor";
        card.deviceId = kEr1xDeviceId;
        card.subsystemId = kEr1xSubsystemId;
        card.revisionId = kEr1xRevisionId;
    } else {
        card.name =
            "Ostrel(R) Vimbra(TM) Software Development Vehicle (formerly known as \"Ember Vale\")";
        card.deviceId = kEv1xDeviceId;
        card.subsystemId = kEv1xSubsystemId;
        card.revisionId = kEv1xRevisionId;
    }
    return card;
}

}  // namespace simulated
