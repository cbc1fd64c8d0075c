// A fleet file: the input is the file.
//
// It is refused with its line and a reason in one line, or it describes a host whose cards are within
// all limits and have addresses of their own; written down with every key, that host reads as the
// same.
#include <algorithm>
#include <cctype>
#include <optional>
#include <set>
#include <string>

#include "fleet/CallNames.h"
#include "fleet/Fleet.h"
#include "fleet/FleetValues.h"
#include "support/Expect.h"
#include "support/FleetText.h"
#include "support/Input.h"

namespace {

using fuzz::Expect;
using fuzz::ExpectEqual;
using simulated::Card;
using simulated::Fault;
using simulated::Fleet;

constexpr char kName[] = "fleet.toml";

void CheckReason(const std::string& reason, std::string_view text) {
    const std::string start = std::string(kName) + ":";
    Expect(reason.starts_with(start), "a reason begins with the file's name");
    const std::size_t end = reason.find(": ", start.size());
    Expect(end != reason.npos && end > start.size(), "a reason follows the line");
    const std::string line = reason.substr(start.size(), end - start.size());
    Expect(std::all_of(line.begin(), line.end(), [](char c) { return c >= '0' && c <= '9'; }),
           "the line is a number");
    const auto lines = static_cast<unsigned long>(std::count(text.begin(), text.end(), '\n') + 1);
    Expect(std::stoul(line) >= 1 && std::stoul(line) <= lines, "the line is one of the file's");
    Expect(std::none_of(reason.begin(), reason.end(),
                        [](char c) { return static_cast<unsigned char>(c) < ' '; }),
           "the reason is one line");
}

// Nothing for a refused file.
std::optional<Fleet> Parse(std::string_view text, std::string& reason) {
    try {
        return simulated::ParseFleet(text, kName);
    } catch (const simulated::FleetError& fault) {
        reason = fault.what();
        return std::nullopt;
    }
}

void CheckText(std::string_view text, std::size_t most) {
    Expect(text.size() <= most && text.find('\0') == text.npos, "a text fits where it goes");
}

void CheckFaults(const std::vector<Fault>& faults, bool ofHost) {
    for (const Fault& fault : faults) {
        Expect(simulated::IsCall(fault.call), "the call that fails exists");
        ExpectEqual(simulated::IsHostCall(fault.call), ofHost, "whether the host's call fails");
        Expect(fault.status != 0 || fault.block || fault.delay != 0, "a fault is no success");
        Expect(!fault.block || (fault.status == 0 && fault.delay == 0), "what blocks does no more");
        Expect(fault.delay <= simulated::kMaxMilliseconds, "a call's time is within its limit");
    }
}

void CheckCard(const Card& card) {
    CheckText(card.name, 254);
    CheckText(card.flashVersion, 254);
    CheckText(card.postCode, 15);
    CheckText(card.memoryVendor, 32);
    CheckText(card.memoryType, 32);
    Expect(card.node <= 0xFFFE, "a card has a node");
    Expect(card.memoryBytes <= simulated::kMaxMemoryBytes, "a card's memory is within its limit");
    Expect(simulated::ParsePcieAddress(ToText(card.pcie)) == card.pcie, "an address has its shape");
    CheckFaults(card.faults, false);
    Expect(card.modeChange <= simulated::kMaxMilliseconds, "a change's time is within its limit");
    Expect(!card.hangOnKill || std::any_of(card.faults.begin(), card.faults.end(),
                                           [](const Fault& fault) { return fault.block; }),
           "a card that hangs has a call that blocks");
    for (const simulated::MemoryFault& fault : card.memoryFaults)
        Expect(fault.address < card.memoryBytes && fault.bit < 8 && fault.stuck < 2,
               "a memory fault is one bit of the memory");
    for (const simulated::AddressFault& fault : card.addressFaults)
        Expect(card.memoryBytes >> std::max(fault.line, fault.with) != 0 &&
                   (!fault.swaps || fault.line != fault.with),
               "an address fault is of lines that the memory has");
}

void CheckFleet(const Fleet& fleet) {
    Expect(fleet.cards.size() <= simulated::kMaxCards, "a host has room for its cards");
    CheckText(fleet.hoskVersion, 254);
    CheckFaults(fleet.faults, true);
    std::set<simulated::PcieAddress> addresses;
    for (const Card& card : fleet.cards) {
        CheckCard(card);
        Expect(addresses.insert(card.pcie).second, "each card has an address of its own");
    }
    const std::string written = fuzz::WriteFleet(fleet);
    std::string reason;
    const std::optional<Fleet> again = Parse(written, reason);
    ExpectEqual(reason, "", "why a written fleet is refused");
    ExpectEqual(fuzz::WriteFleet(*again), written, "the written fleet, read and written again");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text = fuzz::Text(data, size);
    std::string reason;
    if (const std::optional<Fleet> fleet = Parse(text, reason)) {
        CheckFleet(*fleet);
        return 0;
    }
    CheckReason(reason, text);
    std::string again;
    Expect(!Parse(text, again), "a refused file is refused again");
    ExpectEqual(again, reason, "the reason");
    return 0;
}
