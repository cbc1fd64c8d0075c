// A card of a run.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/CardAccess.h"
#include "inventory/Inventory.h"

namespace zelhealth {

// One that is not there, or of which nobody knows anything, is judged too.
struct RunCard {
    CardList::Entry entry;  // `card` is its name
    bool present = true;    // the library enumerates it
    std::string wedged;     // by what, when it was found so
    bool held = false;      // another run had it when it was asked

    // By the inventory: what it means that the card is not there, as an exit status; the mode that belongs
    // to it; and how it differs.
    int missingStatus = 2;
    std::string modeThere = "normal";
    std::vector<Difference> differences;

    // What the card told of itself; empty, or 0, when it did not.
    std::string Fact(const char* name) const;
    std::string Mode() const { return Fact("mode"); }
    std::uint64_t MemorySize() const;
};

}  // namespace zelhealth
