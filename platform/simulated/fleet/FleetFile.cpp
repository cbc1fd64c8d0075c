// Reads a fleet file. Whatever is wrong with it is told with its line, and nothing of it is used.
#include <toml++/toml.h>
#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <span>
#include <string_view>

#include "fleet/CallNames.h"
#include "fleet/Fleet.h"
#include "fleet/FleetValues.h"
#include "fleet/Suggestion.h"

namespace simulated {

namespace {

constexpr U64 kMaxU32 = 0xFFFFFFFF;
constexpr U64 kFirstFailure = 1;  // a status of 0 is a success
constexpr std::size_t kMaxVersionLength = 254;
constexpr U64 kMaxNode = 0xFFFE;  // the card's own number is one more, and 16 bits wide too

// Room for the greatest number of cards with every key many times over; a file beyond it is no fleet.
constexpr std::size_t kMaxFileBytes = std::size_t{16} << 20;

struct SboxRegister {
    const char* name;
    U32 offset;
    U32 width;
};

constexpr SboxRegister kSboxRegisters[] = {
#define SBOX_REGISTER(name, offset, size, default_value, origin) {#name, offset, size},
#include "SboxRegisters.def"
#undef SBOX_REGISTER
};

// A name in quotes may hold line ends; a reason is one line.
std::string OneLine(std::string text) {
    for (char& c : text) {
        if (static_cast<unsigned char>(c) < ' ')
            c = '?';
    }
    return text;
}

class Reader {
public:
    explicit Reader(const std::string& path) : path_(path) {}

    [[noreturn]] void Fail(const toml::node& where, const std::string& reason) const {
        FailAt(where.source().begin.line, reason);
    }
    [[noreturn]] void FailAt(std::size_t line, const std::string& reason) const {
        throw FleetError(path_ + ":" + std::to_string(line) + ": " + OneLine(reason));
    }

private:
    std::string path_;
};

std::string Quoted(std::string_view text) {
    return "\"" + std::string(text) + "\"";
}

std::string Listed(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words)
        text += (text.empty() ? "" : ", ") + word;
    return text;
}

// The keys of one table. Each is asked for once; what is left at the end is unknown.
class Table {
public:
    Table(const Reader& reader, const toml::table& table, std::string name)
        : reader_(reader), table_(table), name_(std::move(name)) {}

    const toml::node* Find(const std::string& key) {
        known_.push_back(key);
        return table_.get(key);
    }

    template <std::size_t Most>
    void Text(const std::string& key, BoundedText<Most>& out) {
        std::string text(out.View());
        Text(key, Most, text);
        out = text;
    }

    void Text(const std::string& key, std::size_t maxLength, std::string& out) {
        const toml::node* node = Find(key);
        if (node == nullptr)
            return;
        const auto value = node->value_exact<std::string>();
        if (!value)
            reader_.Fail(*node, key + " takes a text in quotes");
        if (value->size() > maxLength)
            reader_.Fail(*node, key + " takes at most " + std::to_string(maxLength) +
                                    " bytes, this has " + std::to_string(value->size()));
        if (value->find('\0') != std::string::npos)
            reader_.Fail(*node, key + " holds a NUL character");
        out = *value;
    }

    template <typename Number>
    void Integer(const std::string& key, U64 max, Number& out, U64 min = 0) {
        if (const toml::node* node = Find(key))
            out = static_cast<Number>(ToNumber(*node, key, max, min));
    }

    void Flag(const std::string& key, bool& out) {
        const toml::node* node = Find(key);
        if (node == nullptr)
            return;
        const auto value = node->value_exact<bool>();
        if (!value)
            reader_.Fail(*node, key + " takes true or false");
        out = *value;
    }

    U64 ToNumber(const toml::node& node, const std::string& key, U64 max, U64 min = 0) const {
        const auto value = node.value_exact<int64_t>();
        if (!value)
            reader_.Fail(node, key + " takes a whole number");
        if (*value < 0 || static_cast<U64>(*value) < min || static_cast<U64>(*value) > max)
            reader_.Fail(node, key + " takes " + std::to_string(min) + " to " +
                                   std::to_string(max) + ", this is " + std::to_string(*value));
        return static_cast<U64>(*value);
    }

    // A text that `convert` turns into a value; `expected` says what it takes.
    template <typename Value>
    void Converted(const std::string& key, const std::string& expected, Value& out,
                   const std::function<std::optional<Value>(std::string_view)>& convert) {
        const toml::node* node = Find(key);
        if (node == nullptr)
            return;
        const auto text = node->value_exact<std::string>();
        const auto value = text ? convert(*text) : std::nullopt;
        if (!value)
            reader_.Fail(*node, key + " takes " + expected);
        out = *value;
    }

    void ForEachTable(const std::string& key,
                      const std::function<void(const toml::table&)>& visit) {
        const toml::node* node = Find(key);
        if (node == nullptr)
            return;
        const toml::array* array = node->as_array();
        const bool tables = array != nullptr && array->is_array_of_tables();
        if (!tables)
            reader_.Fail(*node, key + " is a list of tables: [[" + name_ + key + "]]");
        for (const toml::node& element : *array)
            visit(*element.as_table());
    }

    const toml::table* SubTable(const std::string& key) {
        const toml::node* node = Find(key);
        if (node == nullptr)
            return nullptr;
        if (!node->is_table())
            reader_.Fail(*node, key + " is a table: [" + name_ + key + "]");
        return node->as_table();
    }

    void RefuseUnknownKeys() const {
        for (const auto& [key, node] : table_) {
            const std::string_view text = key.str();
            if (std::find(known_.begin(), known_.end(), text) == known_.end())
                reader_.FailAt(key.source().begin.line,
                               "unknown key " + Quoted(text) +
                                   Suggestion(text, known_, "; known here: " + Listed(known_)));
        }
    }

private:
    const Reader& reader_;
    const toml::table& table_;
    std::string name_;
    std::vector<std::string> known_;
};

// What does not go together in a call that waits.
void CheckWaiting(const Reader& reader, const toml::table& source, const Fault& fault) {
    if (!fault.block)
        return;
    if (const toml::node* status = source.get("status"))
        reader.Fail(*status, "a call that blocks returns no status: leave out status or block");
    if (const toml::node* delay = source.get("delay"))
        reader.Fail(*delay, "a call that blocks takes no time: leave out delay or block");
}

Fault ReadFault(const Reader& reader, const toml::table& source, bool ofHost) {
    Table table(reader, source, "");
    Fault fault;
    table.Text("call", fault.call);
    table.Integer("status", kMaxU32, fault.status, kFirstFailure);
    table.Integer("skip", kMaxU32, fault.skip);
    table.Integer("count", kMaxU32, fault.count);
    table.Flag("block", fault.block);
    table.Converted<U32>("delay", "a time such as \"3s\" or \"250ms\", from 1ms to 24h",
                         fault.delay, [](std::string_view text) -> std::optional<U32> {
                             const auto time = ParseTime(text);
                             return time == 0U ? std::nullopt : time;
                         });
    table.RefuseUnknownKeys();
    if (fault.call.View().empty())
        reader.Fail(source, "a fault names the call that fails: call = \"ZelGetUUID\"");
    const toml::node& call = *source.get("call");
    if (!IsCall(fault.call))
        reader.Fail(call, "no library has a call " + Quoted(fault.call.View()) +
                              Suggestion(fault.call, CallNames()));
    if (ofHost != IsHostCall(fault.call))
        reader.Fail(call, std::string(fault.call) +
                              (ofHost ? " concerns a card: put the fault into [[card.fault]]"
                                      : " comes before any card is open: put the fault "
                                        "into [[fault]]"));
    CheckWaiting(reader, source, fault);
    if (source.get("status") == nullptr && (fault.block || fault.delay != 0))
        fault.status = 0;
    return fault;
}

MemoryFault ReadMemoryFault(const Reader& reader, const toml::table& source, U64 memoryBytes) {
    Table table(reader, source, "");
    MemoryFault fault;
    if (source.get("address") == nullptr)
        reader.Fail(source, "a memory fault names its address: address = 0x2000");
    if (memoryBytes == 0)
        reader.Fail(source, "a card without memory has no memory fault");
    table.Integer("address", memoryBytes - 1, fault.address);
    table.Integer("bit", 7, fault.bit);
    table.Integer("stuck", 1, fault.stuck);
    table.Integer("every", kMaxMemoryBytes, fault.every);
    table.RefuseUnknownKeys();
    return fault;
}

AddressFault ReadAddressFault(const Reader& reader, const toml::table& source, U64 memoryBytes) {
    Table table(reader, source, "");
    AddressFault fault;
    if (source.get("line") == nullptr)
        reader.Fail(source, "an address fault names its line: line = 20");
    if (memoryBytes < 2)
        reader.Fail(source, "a card without memory has no address fault");
    const auto last = static_cast<U64>(std::bit_width(memoryBytes - 1) - 1);
    table.Integer("line", last, fault.line);
    table.Integer("swapped_with", last, fault.with);
    table.RefuseUnknownKeys();
    if (const toml::node* with = source.get("swapped_with")) {
        fault.swaps = true;
        if (fault.with == fault.line)
            reader.Fail(*with, "a line that is swapped with itself is not broken");
    }
    return fault;
}

DmaFault ReadDmaFault(const Reader& reader, const toml::table& source) {
    Table table(reader, source, "");
    DmaFault fault;
    if (source.get("to") == nullptr)
        reader.Fail(source, "a DMA fault names the end where it shows: to = \"card\"");
    table.Converted<bool>("to", "\"card\" or \"host\"", fault.toCard,
                          [](std::string_view text) -> std::optional<bool> {
                              if (text != "card" && text != "host")
                                  return std::nullopt;
                              return text == "card";
                          });
    table.Integer("word", kLastDmaWord, fault.word);
    table.Integer("bit", 31, fault.bit);
    table.Integer("stuck", 1, fault.stuck);
    table.RefuseUnknownKeys();
    return fault;
}

// What of the cores can go wrong, as the workload that tests it calls it, and where.
struct CoreUnit {
    std::span<const std::string_view> operations;
    const char* expected;
    const char* place;
    U64 last;
};
constexpr std::string_view kVpuOperations[] = {"add",     "subtract", "multiply", "fma",
                                               "shuffle", "compare",  "reduce"};
constexpr CoreUnit kVpu = {kVpuOperations,
                           "\"add\", \"subtract\", \"multiply\", \"fma\", \"shuffle\", "
                           "\"compare\" or \"reduce\"",
                           "lane", 15};
// The last line is one that the smallest cache has too.
constexpr std::string_view kCacheOperations[] = {"walk", "link", "write", "pingpong", "lost"};
constexpr CoreUnit kCache = {
    kCacheOperations, "\"walk\", \"link\", \"write\", \"pingpong\" or \"lost\"", "line", 255};

CoreFault ReadCoreFault(const Reader& reader, const toml::table& source, const CoreUnit& unit) {
    Table table(reader, source, "");
    CoreFault fault;
    if (source.get("operation") == nullptr)
        reader.Fail(source, "a core fault names what goes wrong: operation = " +
                                Quoted(unit.operations.front()));
    table.Converted<decltype(fault.operation)>(
        "operation", unit.expected, fault.operation,
        [&unit](std::string_view text) -> std::optional<decltype(fault.operation)> {
            const auto& known = unit.operations;
            if (std::find(known.begin(), known.end(), text) == known.end())
                return std::nullopt;
            return text;
        });
    table.Integer(unit.place, unit.last, fault.place);
    table.RefuseUnknownKeys();
    return fault;
}

// A whole number; one that TOML's signed numbers do not reach, as a text in hexadecimal digits.
U64 ReadRegisterValue(const Reader& reader, const Table& table, const toml::node& node,
                      const SboxRegister& row) {
    const U64 max = row.width == 64 ? ~U64{0} : kMaxU32;
    const auto text = node.value_exact<std::string>();
    if (!text)
        return table.ToNumber(node, row.name, std::min<U64>(max, INT64_MAX));
    const auto value = ParseHexadecimal(*text);
    if (!value || *value > max)
        reader.Fail(node, std::string(row.name) + " takes a whole number, or a text such as " +
                              Quoted("0xF") + ", of " + std::to_string(row.width) + " bits");
    return *value;
}

void ReadSbox(const Reader& reader, const toml::table& source, std::vector<SboxValue>& values) {
    for (const auto& [key, node] : source) {
        const std::string name(key.str());
        const auto* row = std::find_if(std::begin(kSboxRegisters), std::end(kSboxRegisters),
                                       [&](const SboxRegister& r) { return name == r.name; });
        if (row == std::end(kSboxRegisters)) {
            std::vector<std::string> names;
            for (const SboxRegister& r : kSboxRegisters)
                names.emplace_back(r.name);
            reader.FailAt(key.source().begin.line,
                          "the SBOX has no register " + Quoted(name) + Suggestion(name, names));
        }
        Table table(reader, source, "card.sbox.");
        values.push_back({row->offset, row->width, ReadRegisterValue(reader, table, node, *row)});
    }
}

Generation ReadGeneration(Table& table) {
    Generation generation = Generation::Er1x;
    table.Converted<Generation>("generation", "\"er1x\" or \"ev1x\"", generation,
                                [](std::string_view text) -> std::optional<Generation> {
                                    if (text == "er1x")
                                        return Generation::Er1x;
                                    if (text == "ev1x")
                                        return Generation::Ev1x;
                                    return std::nullopt;
                                });
    return generation;
}

void ReadMemorySize(Table& table, const toml::table& source, U64& bytes) {
    const toml::node* node = source.get("memory_size");
    if (node != nullptr && node->is_integer()) {
        table.Integer("memory_size", kMaxMemoryBytes, bytes);
        return;
    }
    table.Converted<U64>("memory_size", "bytes, or a text such as \"8GiB\", at most 64GiB", bytes,
                         ParseMemorySize);
}

void ReadIdentity(Table& table, Card& card) {
    table.Text("name", card.name);
    table.Converted<PcieAddress>("pcie", "an address such as \"0000:02:00.0\"", card.pcie,
                                 ParsePcieAddress);
    table.Integer("node", kMaxNode, card.node);
    table.Integer("device_id", kMaxU32, card.deviceId);
    table.Integer("subsystem_id", kMaxU32, card.subsystemId);
    table.Integer("revision_id", kMaxU32, card.revisionId);
    table.Integer("link_speed", kMaxU32, card.linkSpeed);
    table.Integer("link_width", kMaxU32, card.linkWidth);
    table.Text("post_code", card.postCode);
}

void ReadState(Table& table, Card& card) {
    table.Converted<ZEL_CARD_USAGE_MODE>("usage_mode",
                                         "\"normal\", \"maintenance\", \"zombie\", \"memdiag\", "
                                         "\"normal_restricted\", \"offline\" or "
                                         "\"in_transition\"",
                                         card.firstMode, ParseUsageMode);
    table.Converted<U32>("mode_change", "a time such as \"3s\" or \"250ms\", at most 24h",
                         card.modeChange, ParseTime);
    table.Flag("hang_on_kill", card.hangOnKill);
    table.Integer("cores", kMaxU32, card.cores);
    table.Integer("cpuid", kMaxU32, card.cpuId);
    table.Integer("thread_mask", kMaxU32, card.threadMask);
    table.Converted<U32>("smc_firmware", "a version such as \"1.16.42\"", card.smcFirmware,
                         ParseFirmware);
    table.Integer("smc_hardware", kMaxU32, card.smcHardware);
    table.Converted<std::array<U8, 16>>(
        "uuid", "16 bytes such as \"00112233-4455-6677-8899-aabbccddeeff\"", card.uuid, ParseUuid);
    table.Text("flash_version", card.flashVersion);
    table.Converted<SshState>("ssh", "\"up\", \"down\" or \"silent\"", card.ssh, ParseSshState);
}

// Where the cards are: those whose address the file gives, and those that were placed beside them.
class Slots {
public:
    void Take(const PcieAddress& address) { taken_.insert(address); }

    // The first free address at or behind the place of card `index` on a host that gives none.
    PcieAddress FirstFree(U32 index) const {
        while (taken_.contains(DefaultAddress(index)))
            ++index;
        return DefaultAddress(index);
    }

private:
    std::set<PcieAddress> taken_;
};

Card ReadCard(const Reader& reader, const toml::table& source, U32 index, const Slots& slots) {
    Table table(reader, source, "card.");
    Card card = DefaultCard(ReadGeneration(table));
    card.node = static_cast<U16>(index);
    card.pcie = slots.FirstFree(index);
    card.uuid = DefaultUuid(index);
    ReadIdentity(table, card);
    ReadState(table, card);
    ReadMemorySize(table, source, card.memoryBytes);
    table.Text("memory_vendor", card.memoryVendor);
    table.Text("memory_type", card.memoryType);
    table.Integer("memory_speed", kMaxU32, card.memorySpeed);
    table.Integer("memory_density", kMaxU32, card.memoryDensity);
    table.Integer("memory_revision", 0xFFFF, card.memoryRevision);
    if (const toml::table* sbox = table.SubTable("sbox"))
        ReadSbox(reader, *sbox, card.sbox);
    table.ForEachTable("fault", [&](const toml::table& fault) {
        card.faults.push_back(ReadFault(reader, fault, false));
    });
    const bool blocks = std::any_of(card.faults.begin(), card.faults.end(),
                                    [](const Fault& fault) { return fault.block; });
    if (card.hangOnKill && !blocks)
        reader.Fail(*source.get("hang_on_kill"),
                    "hang_on_kill concerns calls that block: give the card a [[card.fault]] with "
                    "block = true");
    table.ForEachTable("memory_fault", [&](const toml::table& fault) {
        card.memoryFaults.push_back(ReadMemoryFault(reader, fault, card.memoryBytes));
    });
    table.ForEachTable("address_fault", [&](const toml::table& fault) {
        card.addressFaults.push_back(ReadAddressFault(reader, fault, card.memoryBytes));
    });
    table.ForEachTable("dma_fault", [&](const toml::table& fault) {
        card.dmaFaults.push_back(ReadDmaFault(reader, fault));
    });
    if (const toml::table* fault = table.SubTable("vpu_fault"))
        card.vpuFault = ReadCoreFault(reader, *fault, kVpu);
    if (const toml::table* fault = table.SubTable("cache_fault"))
        card.cacheFault = ReadCoreFault(reader, *fault, kCache);
    table.RefuseUnknownKeys();
    return card;
}

// Takes the addresses that the file gives, wherever in it, and refuses one that it gives twice.
Slots TakeGivenAddresses(const Reader& reader, const toml::table& source) {
    Slots slots;
    std::map<PcieAddress, std::size_t> owners;
    const toml::array* cards = source["card"].as_array();
    for (std::size_t i = 0; cards != nullptr && i < cards->size(); ++i) {
        const toml::table* card = cards->get(i)->as_table();
        const auto text = card == nullptr ? std::nullopt : (*card)["pcie"].value<std::string>();
        const auto address = text ? ParsePcieAddress(*text) : std::nullopt;
        if (!address)
            continue;
        const auto [owner, added] = owners.emplace(*address, i);
        if (!added)
            reader.Fail(*card->get("pcie"), "zel" + std::to_string(i) + " is on " +
                                                ToText(*address) + ", and so is zel" +
                                                std::to_string(owner->second));
        slots.Take(*address);
    }
    return slots;
}

void ReadHost(const Reader& reader, const toml::table& source, Fleet& fleet) {
    Table table(reader, source, "host.");
    table.Text("hosk_version", kMaxVersionLength, fleet.hoskVersion);
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
    Table table(reader, source, "");
    Fleet fleet;
    if (const toml::table* host = table.SubTable("host"))
        ReadHost(reader, *host, fleet);
    table.ForEachTable("fault", [&](const toml::table& fault) {
        fleet.faults.push_back(ReadFault(reader, fault, true));
    });
    Slots slots = TakeGivenAddresses(reader, source);
    table.ForEachTable("card", [&](const toml::table& card) {
        if (fleet.cards.size() == kMaxCards)
            reader.Fail(card, "a host takes at most " + std::to_string(kMaxCards) + " cards");
        const auto index = static_cast<U32>(fleet.cards.size());
        fleet.cards.push_back(ReadCard(reader, card, index, slots));
        slots.Take(fleet.cards.back().pcie);
    });
    table.RefuseUnknownKeys();
    return fleet;
}

Fleet ReadFleet(const std::string& path) {
    return ParseFleet(ReadWhole(path), path);
}

}  // namespace simulated
