// What a card is, apart from what is broken on it: numbers and texts of fixed size, so that they lie in the
// host's state as they stand here.
#pragma once

#include <array>
#include <compare>
#include <string>
#include <type_traits>

#include "ZelAccessApi.h"
#include "fleet/BoundedText.h"

namespace simulated {

// A value, and its name in fleet files and commands.
template <typename Value>
struct Named {
    const char* name;
    Value value;
};

enum class Generation { Er1x, Ev1x };
inline constexpr Named<Generation> kGenerations[] = {{"er1x", Generation::Er1x},
                                                     {"ev1x", Generation::Ev1x}};

const char* GenerationName(Generation generation);

struct PcieAddress {
    U32 domain = 0;
    U8 bus = 0;
    U8 device = 0;
    U8 function = 0;
    // What the compiler makes of it compares with a literal 0.
    auto operator<=>(const PcieAddress&) const = default;  // NOLINT(modernize-use-nullptr)
};

std::string ToText(PcieAddress address);

// Where card number `index` is unless its fleet file says otherwise: one card a bus, from bus 2 of the
// first domain on.
PcieAddress DefaultAddress(U32 index);

using Uuid = std::array<U8, 16>;

// What card number `index` is known by unless its fleet file says otherwise.
Uuid DefaultUuid(U32 index);

// What a card makes of ssh connections: serves them, refuses them, or lets them come and never speaks.
enum class SshState : U8 { Up, Down, Silent };
inline constexpr Named<SshState> kSshStates[] = {
    {"up", SshState::Up}, {"down", SshState::Down}, {"silent", SshState::Silent}};

using ModeName = Named<ZEL_CARD_USAGE_MODE>;
inline constexpr ModeName kModeNames[] = {
    {"normal", ZEL_USAGE_MODE_NORMAL},
    {"maintenance", ZEL_USAGE_MODE_MAINTENANCE},
    {"zombie", ZEL_USAGE_MODE_ZOMBIE},
    {"memdiag", ZEL_USAGE_MODE_MEMDIAG},
    {"normal_restricted", ZEL_USAGE_MODE_NORMAL_RESTRICTED},
    {"offline", ZEL_USAGE_MODE_OFFLINE},
    {"in_transition", ZEL_USAGE_MODE_IN_TRANSITION},
};

struct CardFacts {
    Generation generation = Generation::Er1x;
    BoundedText<254> name;
    PcieAddress pcie;
    U16 node = 0;
    U32 deviceId = 0;
    U32 subsystemId = 0;
    U32 revisionId = 0;
    U32 linkSpeed = LINK_SPEED_5;
    U32 linkWidth = LINK_WIDTH_16;
    BoundedText<15> postCode = "12";
    ZEL_CARD_USAGE_MODE firstMode = ZEL_USAGE_MODE_NORMAL;  // the usage mode in which it begins
    U32 modeChange = 0;       // milliseconds that a change of the usage mode takes
    bool hangOnKill = false;  // a call that blocks ends by SIGKILL alone
    U32 cores = 60;
    U32 cpuId = 0x0000B000;
    U32 threadMask = 0xF;
    U32 smcFirmware = 0;
    U32 smcHardware = 0x00030002;
    Uuid uuid{};
    BoundedText<254> flashVersion = "2.1.02.0390";
    U64 memoryBytes = U64{8} << 30;
    BoundedText<32> memoryVendor = "Elmwood";
    BoundedText<32> memoryType = "GDDR5";
    U32 memorySpeed = 5000000;
    U32 memoryDensity = 8192;
    U16 memoryRevision = 1;
    SshState ssh = SshState::Up;
    bool operator==(const CardFacts&) const = default;
};

static_assert(std::is_trivially_copyable_v<CardFacts>);

}  // namespace simulated
