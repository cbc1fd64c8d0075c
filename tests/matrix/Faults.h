// The faults of a simulated card that the tests are to meet, and what is left out, by name and reason.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

struct Fault {
    std::string name;
    std::string description;
    std::string card;                    // what stands in the fleet file behind [[card]]
    std::string memoryMode = "offline";  // the mode in which the memory tests find the card
    bool isFailingCall = false;
    bool blocks = false;  // a run on the card does not end by itself
};

extern const Fault kHealthy;

// A fleet file of one card with the fault. Its memory is small, so that testing all of it takes no time.
std::string FleetWith(const Fault& fault);

// Each file of the folder, too many wrong SBOX registers, each usage mode and each call that fails.
// Throws std::runtime_error.
std::vector<Fault> CollectFaults(const std::filesystem::path& folder);

// A key of fleet files of which there is no fault.
struct LeftOut {
    std::string_view name;
    const char* reason;
};

inline constexpr LeftOut kLeftOut[] = {
    {"card.pcie", "where the card is: any address is as good"},
    {"card.node", "the card's number for `libvorl`: any number is as good"},
    {"fault.status", "of `ZelInitAPI` and `ZelCloseAPI`: the tool asks only whether they fail"},
    {"fault.skip", "of the same: a run makes each of them once"},
    {"fault.block", "of the same: a run that blocks does not end, whichever call it is"},
    {"fault.delay", "of the same: the tool waits, whichever call it is"},
};

// What is wrong with the faults themselves, a line each: a key without a fault and without a reason
// why, a reason without need, a fault that leaves the card healthy.
std::vector<std::string> GapsIn(const std::vector<Fault>& faults);
