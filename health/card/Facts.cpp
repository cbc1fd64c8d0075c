// Collects what a card tells. Each fact is asked for by itself: a card that has lost its controller
// still tells its memory.
#include "Facts.h"

#include <fmt/format.h>

#include <array>
#include <bit>

#include "Generation.h"
#include "MmioRegisters.h"
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

// Those that are enabled, of all cores.
Json Threads(HANDLE handle) {
    constexpr U32 kThreadsOfACore = 0xF;
    U32 enabled = 0;
    Check("ZelReadMMIOReg", ZelReadMMIOReg(handle, ZEL_MMIO_THREAD_ENABLE, &enabled));
    U32 cores = 0;
    Check("ZelGetNumCores", ZelGetNumCores(handle, &cores));
    return cores * static_cast<U32>(std::popcount(enabled & kThreadsOfACore));
}

Json RevisionId(HANDLE handle) {
    U32 revision = 0;
    Check("ZelGetRevisionID", ZelGetRevisionID(handle, &revision));
    return revision;
}

Json LinkWidth(HANDLE handle) {
    U32 lanes = LINK_WIDTH_UNKNOWN;
    Check("ZelGetPcieLinkWidth", ZelGetPcieLinkWidth(handle, &lanes));
    return lanes;
}

Json LinkSpeed(HANDLE handle) {
    U32 speed = LINK_SPEED_UNKNOWN;
    Check("ZelGetPcieLinkSpeed", ZelGetPcieLinkSpeed(handle, &speed));
    return speed == LINK_SPEED_2_5 ? "2.5 GT/s" : speed == LINK_SPEED_5 ? "5 GT/s" : "unknown";
}

struct Fact {
    const char* path;
    Json (*ask)(HANDLE);
};

constexpr Fact kFacts[] = {
    {"/uuid", Uuid},
    {"/firmware/flash", FlashVersion},
    {"/firmware/smc", SmcVersion},
    {"/mode", Mode},
    {"/memory_size", MemorySize},
    {"/cores", Cores},
    {"/threads", Threads},
    {"/revision_id", RevisionId},
    {"/link/width", LinkWidth},
    {"/link/speed", LinkSpeed},
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
