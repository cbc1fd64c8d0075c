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
    BoundedText<254> hoskVersion = "3.1.2";
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

}  // namespace simulated
