// Whether somebody uses a card. The cards' libraries do not tell, so an operator says how to find out:
// with a command that the shell runs, $1 being the card ("zel1") and $2 its PCIe address.
//
// It ends with 0 when the card is in use, like programs that look for users, and what it prints says by
// whom; with 1 when it is free. Anything else is no answer, and a card of which that is not known counts
// as in use: it would be taken away from somebody.
#pragma once

#include <string>

#include "run/Stop.h"

namespace zelhealth {

struct Busy {
    bool busy = false;

    // Of a busy card: by whom, or why that is not known.
    std::string text;

    // The command itself is at fault.
    bool setup = false;
};

// With an empty command no card is in use.
Busy AskBusy(const std::string& command, const std::string& card, const std::string& pcie,
             const Stop& stop);

}  // namespace zelhealth
