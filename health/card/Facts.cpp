// Collects what a card tells. Each fact is asked for by itself: a card that has lost its controller
// still tells its memory.
#include "Facts.h"

#include <fmt/format.h>

#include <array>

#include "Generation.h"
#include "Modes.h"

namespace zelcard {

namespace {

using Json = nlohmann::ordered_json;

Json Uuid(HANDLE handle) {
    std::array<U8, 16> bytes{};
    U32 length = bytes.size();
    Check("ZelGetUUID", ZelGetUUID(handle, bytes.data(), &length));
    std::string text;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        if (i == 4 || i == 6 || i == 8 || i == 10)
            text += '-';
        text += fmt::format("{:02x}", bytes[i]);
    }
    return text;
}

Json FlashVersion(HANDLE handle) {
    std::array<char, 255> text{};
    U32 length = text.size();
    Check("ZelGetZelVersion",
          ZelGetZelVersion(handle, ZEL_VERSION_FLASH_IMAGE, text.data(), &length));
    text.back() = '\0';
    return text.data();
}

Json SmcVersion(HANDLE handle) {
    ZEL_SMCFwRevType revision{};
    Check("ZelGetSMCFWVersion", ZelGetSMCFWVersion(handle, &revision));
    const ZEL_SMCFwBits bits = revision.revbits;
    return fmt::format("{}.{}.{}", U32{bits.major}, U32{bits.minor}, U32{bits.buildno});
}

Json Mode(HANDLE handle) {
    return ModeName(ReadMode(handle));
}

Json MemorySize(HANDLE handle) {
    U64 bytes = 0;
    Check("ZelGetGDDRMemSize", ZelGetGDDRMemSize(handle, &bytes));
    return bytes;
}

Json Cores(HANDLE handle) {
    U32 count = 0;
    Check("ZelGetNumCores", ZelGetNumCores(handle, &count));
    return count;
}

struct Fact {
    const char* path;
    Json (*ask)(HANDLE);
};

constexpr Fact kFacts[] = {
    {"/uuid", Uuid}, {"/firmware/flash", FlashVersion}, {"/firmware/smc", SmcVersion},
    {"/mode", Mode}, {"/memory_size", MemorySize},      {"/cores", Cores},
};

}  // namespace

Json Describe(const CallFailure& failure) {
    return {{"call", failure.call}, {"status", failure.status}, {"text", failure.what()}};
}

Json Identity(const Library& library, std::size_t card) {
    const ZelDeviceOnSystem& device = library.Device(card);
    return {{"card", CardName(card)},
            {"pcie", PcieAddress(card)},
            {"name", MarketingName(device)},
            {"generation", GenerationName(device)},
            {"device_id", device.deviceId},
            {"subsystem_id", device.subSystemId},
            {"node", device.node}};
}

Json Facts(Library& library, std::size_t card) {
    Json facts = Identity(library, card);
    const HANDLE handle = library.OpenCard(card);
    Json errors = Json::object();
    for (const Fact& fact : kFacts) {
        Json& value = facts[Json::json_pointer(fact.path)];
        try {
            value = fact.ask(handle);
        } catch (const CallFailure& failure) {
            errors[fact.path + 1] = Describe(failure);
        }
    }
    facts["errors"] = errors;
    return facts;
}

}  // namespace zelcard
