// A fleet: one simulated host and its cards, as a fleet file describes them. Every key that the file
// leaves out has the value of a healthy card.
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "fleet/CardFacts.h"
#include "fleet/Faults.h"

namespace simulated {

struct Card : CardFacts {
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
