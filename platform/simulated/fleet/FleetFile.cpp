// Reads a fleet file: by the rows of its keys, and by the rules below, which concern more than one key.
// Whatever is wrong with it is told with its line, and nothing of it is used.
#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string_view>

#include "fleet/CallNames.h"
#include "fleet/CardKeys.h"
#include "fleet/FaultKeys.h"
#include "fleet/Fleet.h"
#include "fleet/FleetReader.h"
#include "fleet/HostKeys.h"
#include "fleet/SboxTable.h"
#include "fleet/Suggestion.h"

namespace simulated {

namespace {

// Room for the greatest number of cards with every key many times over; a file beyond it is no fleet.
constexpr std::size_t kMaxFileBytes = std::size_t{16} << 20;

// What does not go together in a call that waits.
void CheckWaiting(const Reader& reader, const toml::table& source, const Fault& fault) {
    if (!fault.block)
        return;
    if (const toml::node* status = source.get("status"))
        reader.Fail(*status, "a call that blocks returns no status: leave out status or block");
    if (const toml::node* delay = source.get("delay"))
        reader.Fail(*delay, "a call that blocks takes no time: leave out delay or block");
}

void CheckCall(const Reader& reader, const toml::table& source, const Fault& fault, bool ofHost) {
    const std::string name(fault.call);
    if (name.empty())
        reader.Fail(source, kFaultKeys[0].field.missing);
    const toml::node& call = *source.get("call");
    if (!IsCall(name))
        reader.Fail(call, "no library has a call " + Quoted(name) + Suggestion(name, CallNames()));
    if (ofHost != IsHostCall(name))
        reader.Fail(call, name + (ofHost ? " concerns a card: put the fault into [[card.fault]]"
                                         : " comes before any card is open: put the fault "
                                           "into [[fault]]"));
}

Fault ReadFault(const Reader& reader, const toml::table& source, bool ofHost) {
    const TableReader table(reader, source, ofHost ? "fault" : "card.fault");
    Fault fault;
    table.Read(kFaultKeys, fault);
    table.RefuseUnknownKeys();
    CheckCall(reader, source, fault, ofHost);
    CheckWaiting(reader, source, fault);
    if (source.get("status") == nullptr && (fault.block || fault.delay != 0))
        fault.status = 0;
    return fault;
}

MemoryFault ReadMemoryFault(const Reader& reader, const toml::table& source, U64 memoryBytes) {
    const TableReader table(reader, source, "card.memory_fault");
    MemoryFault fault;
    table.RefuseMissingKeys(kMemoryFaultKeys);
    if (memoryBytes == 0)
        reader.Fail(source, "a card without memory has no memory fault");
    table.Read(kMemoryFaultKeys, fault, {{"address", memoryBytes - 1}});
    table.RefuseUnknownKeys();
    return fault;
}

AddressFault ReadAddressFault(const Reader& reader, const toml::table& source, U64 memoryBytes) {
    const TableReader table(reader, source, "card.address_fault");
    AddressFault fault;
    table.RefuseMissingKeys(kAddressFaultKeys);
    if (memoryBytes < 2)
        reader.Fail(source, "a card without memory has no address fault");
    const auto last = static_cast<U64>(std::bit_width(memoryBytes - 1) - 1);
    table.Read(kAddressFaultKeys, fault, {{"line", last}, {"swapped_with", last}});
    table.RefuseUnknownKeys();
    if (fault.swaps && fault.with == fault.line)
        reader.Fail(*source.get("swapped_with"),
                    "a line that is swapped with itself is not broken");
    return fault;
}

// A fault of which the rows say all.
template <typename Object, std::size_t Count>
Object ReadPlain(const Reader& reader, const toml::table& source, const std::string& name,
                 const Key<Object> (&keys)[Count]) {
    const TableReader table(reader, source, name);
    Object object;
    table.RefuseMissingKeys(keys);
    table.Read(keys, object);
    table.RefuseUnknownKeys();
    return object;
}

void ReadCallFaults(const Reader& reader, const toml::table& source, const TableReader& table,
                    Card& card) {
    table.ForEachTable("fault", [&](const toml::table& fault) {
        card.faults.push_back(ReadFault(reader, fault, false));
    });
    const bool blocks = std::any_of(card.faults.begin(), card.faults.end(),
                                    [](const Fault& fault) { return fault.block; });
    if (card.hangOnKill && !blocks)
        reader.Fail(*source.get("hang_on_kill"),
                    "hang_on_kill concerns calls that block: give the card a [[card.fault]] with "
                    "block = true");
}

// What no two cards can have in common: what the file gives, and what was left for the others.
template <typename Value>
class Places {
public:
    explicit Places(Value (*defaultOf)(U32 index)) : defaultOf_(defaultOf) {}

    // The card that has it already; nothing when it is taken now.
    std::optional<std::size_t> Take(const Value& value, std::size_t card) {
        const auto [owner, added] = owners_.emplace(value, card);
        return added ? std::nullopt : std::optional(owner->second);
    }

    // The first free one at or behind that of card `index` on a host that gives none.
    Value FirstFree(U32 index) const {
        while (owners_.contains(defaultOf_(index)))
            ++index;
        return defaultOf_(index);
    }

private:
    Value (*defaultOf_)(U32 index);
    std::map<Value, std::size_t> owners_;
};

struct Slots {
    Places<PcieAddress> addresses{DefaultAddress};
    Places<U64> nodes{[](U32 index) { return U64{index}; }};
};

// What the keys of a card make of one that is healthy; its generation presets others of them.
void ReadFacts(const TableReader& table, U32 index, const Slots& slots, CardFacts& facts) {
    CardFacts given;
    table.Read(kCardKeys, given);
    facts = DefaultCard(given.generation);
    facts.node = static_cast<U16>(slots.nodes.FirstFree(index));
    facts.pcie = slots.addresses.FirstFree(index);
    facts.uuid = DefaultUuid(index);
    table.Read(kCardKeys, facts);
}

Card ReadCard(const Reader& reader, const toml::table& source, U32 index, const Slots& slots) {
    const TableReader table(reader, source, "card");
    Card card;
    ReadFacts(table, index, slots, card);
    if (const toml::table* sbox = table.SubTable("sbox"))
        card.sbox = ReadSbox(reader, *sbox);
    ReadCallFaults(reader, source, table, card);
    table.ForEachTable("memory_fault", [&](const toml::table& fault) {
        card.memoryFaults.push_back(ReadMemoryFault(reader, fault, card.memoryBytes));
    });
    table.ForEachTable("address_fault", [&](const toml::table& fault) {
        card.addressFaults.push_back(ReadAddressFault(reader, fault, card.memoryBytes));
    });
    table.ForEachTable("dma_fault", [&](const toml::table& fault) {
        card.dmaFaults.push_back(ReadPlain(reader, fault, "card.dma_fault", kDmaFaultKeys));
    });
    if (const toml::table* fault = table.SubTable("vpu_fault"))
        card.vpuFault = ReadPlain(reader, *fault, "card.vpu_fault", kVpuFaultKeys);
    if (const toml::table* fault = table.SubTable("cache_fault"))
        card.cacheFault = ReadPlain(reader, *fault, "card.cache_fault", kCacheFaultKeys);
    table.RefuseUnknownKeys();
    return card;
}

std::string Shared(std::size_t card, const std::string& what, std::size_t other) {
    return "zel" + std::to_string(card) + " is on " + what + ", and so is zel" +
           std::to_string(other);
}

// Takes what the file gives, wherever in it, and refuses what it gives twice.
Slots TakeGiven(const Reader& reader, const toml::table& source) {
    Slots slots;
    const toml::array* cards = source["card"].as_array();
    for (std::size_t i = 0; cards != nullptr && i < cards->size(); ++i) {
        const toml::table* card = cards->get(i)->as_table();
        if (card == nullptr)
            continue;
        const auto text = (*card)["pcie"].value<std::string>();
        if (const auto address = text ? ParsePcieAddress(*text) : std::nullopt) {
            if (const auto other = slots.addresses.Take(*address, i))
                reader.Fail(*card->get("pcie"), Shared(i, ToText(*address), *other));
        }
        const auto node = (*card)["node"].value_exact<std::int64_t>();
        if (node && *node >= 0) {
            if (const auto other = slots.nodes.Take(static_cast<U64>(*node), i))
                reader.Fail(*card->get("node"), Shared(i, "node " + std::to_string(*node), *other));
        }
    }
    return slots;
}

void ReadHost(const Reader& reader, const toml::table& source, Fleet& fleet) {
    const TableReader table(reader, source, "host");
    table.Read(kHostKeys, fleet);
    table.RefuseUnknownKeys();
}

struct CloseFile {
    void operator()(FILE* file) const { std::fclose(file); }
};

std::string ReadWhole(const std::string& path) {
    const auto fail = [&](const std::string& why) {
        throw FleetError(path + ": cannot be read: " + why);
    };
    const std::unique_ptr<FILE, CloseFile> file(std::fopen(path.c_str(), "re"));
    if (!file)
        fail(std::strerror(errno));
    std::string text;
    char piece[4096];
    while (const std::size_t length = std::fread(piece, 1, sizeof(piece), file.get())) {
        text.append(piece, length);
        if (text.size() > kMaxFileBytes)
            fail("it is larger than a fleet file can be");
    }
    if (std::ferror(file.get()) != 0)
        fail(std::strerror(errno));
    return text;
}

toml::table ParseToml(const Reader& reader, std::string_view text) {
    try {
        return toml::parse(text);
    } catch (const toml::parse_error& fault) {
        reader.FailAt(fault.source().begin.line, std::string(fault.description()));
    }
}

}  // namespace

Fleet ParseFleet(std::string_view text, const std::string& name) {
    const Reader reader(name);
    const toml::table source = ParseToml(reader, text);
    const TableReader table(reader, source, "");
    Fleet fleet;
    if (const toml::table* host = table.SubTable("host"))
        ReadHost(reader, *host, fleet);
    table.ForEachTable("fault", [&](const toml::table& fault) {
        fleet.faults.push_back(ReadFault(reader, fault, true));
    });
    Slots slots = TakeGiven(reader, source);
    table.ForEachTable("card", [&](const toml::table& card) {
        if (fleet.cards.size() == kMaxCards)
            reader.Fail(card, "a host takes at most " + std::to_string(kMaxCards) + " cards");
        const auto index = static_cast<U32>(fleet.cards.size());
        fleet.cards.push_back(ReadCard(reader, card, index, slots));
        // A card that has its own is the one that has it already.
        slots.addresses.Take(fleet.cards.back().pcie, index);
        slots.nodes.Take(fleet.cards.back().node, index);
    });
    table.RefuseUnknownKeys();
    return fleet;
}

Fleet ReadFleet(const std::string& path) {
    return ParseFleet(ReadWhole(path), path);
}

}  // namespace simulated
