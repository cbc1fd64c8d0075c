// A fleet: one simulated host and its cards, as a fleet file describes them. Every key that the file
// leaves out has the value of a healthy card.
#pragma once

#include <array>
#include <compare>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "ZelAccessApi.h"

namespace simulated {

enum class Generation { Er1x, Ev1x };

const char* GenerationName(Generation generation);

// A platform call that goes wrong: `skip` calls pass first, then `count` do not; count 0: every one. It
// never returns, or takes `delay` milliseconds and then fails with `status` or, where that is 0, does
// what it does.
struct Fault {
    std::string call;
    U32 status = ZEL_DEVICE_IO_ERROR;
    U32 skip = 0;
    U32 count = 1;
    bool block = false;
    U32 delay = 0;
    bool operator==(const Fault&) const = default;
};

// A broken memory cell: the bit reads as `stuck` whatever was written. Unless `every` is 0, the same
// bit of each byte that lies a multiple of so many bytes behind it does, too.
struct MemoryFault {
    U64 address = 0;
    U32 bit = 0;
    U32 stuck = 1;
    U64 every = 0;
    bool operator==(const MemoryFault&) const = default;
};

// A broken address line of the memory: `line` is ignored, as if it were always 0, or is swapped `with`
// another.
struct AddressFault {
    U32 line = 0;
    bool swaps = false;
    U32 with = 0;
    bool operator==(const AddressFault&) const = default;
};
inline constexpr U32 kLastAddressLine = 35;  // of the largest memory that a card can have

// A broken data line: in what DMA transfers bring to one end, a bit of a 32-bit word of each 64 KiB
// arrives as `stuck` whatever was sent. The tests transfer 4096 bytes: a word behind them would be of
// no effect.
struct DmaFault {
    bool toCard = false;  // else to the host
    U32 word = 0;
    U32 bit = 0;
    U32 stuck = 1;
    bool operator==(const DmaFault&) const = default;
};
inline constexpr U32 kLastDmaWord = 4096 / sizeof(U32) - 1;

// A unit of the card's cores that does not do what it should: an operation of the workload that tests
// the unit goes wrong at one place, a lane or a cache line. Without an operation none does.
struct CoreFault {
    std::string operation;
    U32 place = 0;
    bool operator==(const CoreFault&) const = default;
};

// A register that does not power up with its default.
struct SboxValue {
    U32 offset = 0;  // from the start of the SBOX region
    U32 width = 32;  // bits
    U64 value = 0;
    bool operator==(const SboxValue&) const = default;
};

struct PcieAddress {
    U32 domain = 0;
    U8 bus = 0;
    U8 device = 0;
    U8 function = 0;
    // What the compiler makes of it compares with a literal 0.
    auto operator<=>(const PcieAddress&) const = default;  // NOLINT(modernize-use-nullptr)
};

std::string ToText(const PcieAddress& address);

// Where card number `index` is unless its fleet file says otherwise: one card a bus, from bus 2 of the
// first domain on.
PcieAddress DefaultAddress(U32 index);

// What card number `index` is known by unless its fleet file says otherwise.
std::array<U8, 16> DefaultUuid(U32 index);

// What a card makes of ssh connections: serves them, refuses them, or lets them come and never speaks.
enum class SshState : U8 { Up, Down, Silent };

struct Card {
    Generation generation = Generation::Er1x;
    std::string name;
    PcieAddress pcie;
    U16 node = 0;
    U32 deviceId = 0;
    U32 subsystemId = 0;
    U32 revisionId = 0;
    U32 linkSpeed = LINK_SPEED_5;
    U32 linkWidth = LINK_WIDTH_16;
    std::string postCode = "12";
    ZEL_CARD_USAGE_MODE usageMode = ZEL_USAGE_MODE_NORMAL;
    U32 modeChange = 0;       // milliseconds that a change of the usage mode takes
    bool hangOnKill = false;  // a call that blocks ends by SIGKILL alone
    U32 cores = 60;
    U32 cpuId = 0x0000B000;
    U32 threadMask = 0xF;
    U32 smcFirmware = 0;
    U32 smcHardware = 0x00030002;
    std::array<U8, 16> uuid{};
    std::string flashVersion = "2.1.02.0390";
    U64 memoryBytes = U64{8} << 30;
    std::string memoryVendor = "Elmwood";
    std::string memoryType = "GDDR5";
    U32 memorySpeed = 5000000;
    U32 memoryDensity = 8192;
    U16 memoryRevision = 1;
    SshState ssh = SshState::Up;
    std::vector<SboxValue> sbox;
    std::vector<Fault> faults;
    std::vector<MemoryFault> memoryFaults;
    std::vector<AddressFault> addressFaults;
    std::vector<DmaFault> dmaFaults;
    CoreFault vpuFault;
    CoreFault cacheFault;
    bool operator==(const Card&) const = default;
};

// A healthy card of a generation. It has no place on a host yet.
Card DefaultCard(Generation generation);

struct Fleet {
    std::string hoskVersion = "3.1.2";
    std::vector<Fault> faults;  // calls that come before any card is open
    std::vector<Card> cards;
};

// More cards than any host takes, and than the tool supports, so that its limit can be shown.
inline constexpr U32 kMaxCards = 1024;

// What is wrong with a fleet file: "FILE:LINE: reason".
class FleetError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Throw FleetError. `name` is what the error calls the text.
Fleet ReadFleet(const std::string& path);
Fleet ParseFleet(std::string_view text, const std::string& name);

// A usage mode and its name in fleet files and commands.
struct ModeName {
    ZEL_CARD_USAGE_MODE mode;
    const char* name;
};
inline constexpr ModeName kModeNames[] = {
    {ZEL_USAGE_MODE_NORMAL, "normal"},
    {ZEL_USAGE_MODE_MAINTENANCE, "maintenance"},
    {ZEL_USAGE_MODE_ZOMBIE, "zombie"},
    {ZEL_USAGE_MODE_MEMDIAG, "memdiag"},
    {ZEL_USAGE_MODE_NORMAL_RESTRICTED, "normal_restricted"},
    {ZEL_USAGE_MODE_OFFLINE, "offline"},
    {ZEL_USAGE_MODE_IN_TRANSITION, "in_transition"},
};

}  // namespace simulated
