// The faults of a simulated card.
#include "Faults.h"

#include <algorithm>
#include <fstream>
#include <set>
#include <sstream>
#include <stdexcept>

#include "FleetKeys.h"
#include "fleet/CallNames.h"
#include "fleet/Fleet.h"

namespace fs = std::filesystem;

const Fault kHealthy = {.name = "(none)", .description = "a healthy card", .card = ""};

namespace {

bool IsLeftOut(const std::string& name) {
    return std::ranges::find(kLeftOut, name, &LeftOut::name) != std::end(kLeftOut);
}

Fault ReadFault(const fs::path& path) {
    std::ifstream file(path);
    std::string description;
    std::getline(file, description);
    if (!description.starts_with("# "))
        throw std::runtime_error(path.string() + ": the first line says what is wrong");
    std::ostringstream card;
    card << file.rdbuf();
    return {.name = path.stem(),
            .description = description.substr(2),
            .card = card.str(),
            .isFailingCall = card.str().find("call = ") != std::string::npos,
            .blocks = card.str().find("block = true") != std::string::npos};
}

// More registers differ than the test lets pass.
Fault SboxFault() {
    constexpr int kTooMany = 360;
    std::string card = "[card.sbox]\n";
    int count = 0;
#define SBOX_REGISTER(name, offset, width, value, source) \
    if (count++ < kTooMany)                               \
        card += #name " = " + std::to_string((value) ^ 1U) + "\n";
#include "SboxRegisters.def"
#undef SBOX_REGISTER
    return {.name = "sbox-registers",
            .description = "more than half of the SBOX registers do not hold their defaults",
            .card = card};
}

// The memory tests find the card in that mode, too: in normal mode they find one that is not ready.
Fault ModeFault(const std::string& mode) {
    return {.name = "usage-mode-" + mode,
            .description = "the card is in the mode `" + mode + "`, also for the memory tests",
            .card = "usage_mode = \"" + mode + "\"\n",
            .memoryMode = mode};
}

Fault CallFault(const std::string& call) {
    const char* const table = simulated::IsHostCall(call) ? "[[fault]]" : "[[card.fault]]";
    return {.name = call,
            .description = "the call fails",
            .card = std::string(table) + "\ncall = \"" + call + "\"\ncount = 0\n",
            .isFailingCall = true};
}

bool LeavesTheCardHealthy(const Fault& fault) {
    const simulated::Fleet healthy = simulated::ParseFleet(FleetWith(kHealthy), "healthy");
    const simulated::Fleet fleet = simulated::ParseFleet(FleetWith(fault), fault.name);
    return fleet.cards == healthy.cards && fleet.faults.empty() &&
           fleet.hoskVersion == healthy.hoskVersion && fault.memoryMode == kHealthy.memoryMode;
}

}  // namespace

std::string FleetWith(const Fault& fault) {
    const bool sized = fault.card.find("memory_size") != std::string::npos;
    return std::string("[[card]]\n") + (sized ? "" : "memory_size = \"48MiB\"\n") + fault.card;
}

std::vector<Fault> CollectFaults(const fs::path& folder) {
    std::vector<Fault> faults;
    for (const auto& entry : fs::directory_iterator(folder))
        faults.push_back(ReadFault(entry.path()));
    faults.push_back(SboxFault());
    for (const simulated::ModeName& mode : simulated::kModeNames)
        faults.push_back(ModeFault(mode.name));
    std::ranges::sort(faults, {}, &Fault::name);
    for (const std::string& call : simulated::CallNames())
        faults.push_back(CallFault(call));
    return faults;
}

std::vector<std::string> GapsIn(const std::vector<Fault>& faults) {
    std::vector<std::string> gaps;
    std::set<std::string> met;
    for (const Fault& fault : faults) {
        met.merge(KeysUsedBy("[[card]]\n" + fault.card));
        if (LeavesTheCardHealthy(fault))
            gaps.push_back(fault.name + " leaves the card healthy");
    }
    const std::set<std::string> wanted = AllFleetKeys();
    for (const std::string& name : wanted) {
        if (!met.contains(name) && !IsLeftOut(name))
            gaps.push_back("no fault has " + name + ", and kLeftOut does not say why");
    }
    for (const LeftOut& row : kLeftOut) {
        const std::string name(row.name);
        if (!wanted.contains(name) || met.contains(name))
            gaps.push_back("kLeftOut names " + name + " without need");
    }
    return gaps;
}
