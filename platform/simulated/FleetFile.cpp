// Reads a fleet file. Whatever is wrong with it is told with its line, and nothing of it is used.
#include <fcntl.h>
#include <sys/stat.h>
#include <toml++/toml.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <functional>
#include <map>
#include <optional>

#include "CallNames.h"
#include "Descriptor.h"
#include "Fleet.h"
#include "Suggestion.h"

namespace simulated {

namespace {

constexpr off_t kMaxFileBytes = off_t{16} << 20;
constexpr U64 kMaxU32 = 0xFFFFFFFF;
constexpr std::size_t kMaxNameLength = 254;
constexpr std::size_t kMaxVersionLength = 254;
constexpr std::size_t kMaxPostCodeLength = 15;
constexpr std::size_t kMaxMemoryTextLength = 32;
constexpr U64 kMaxNode = 0xFFFE;  // the card's own number is one more, and 16 bits wide too
constexpr U64 kMaxMemoryBytes = U64{64} << 30;

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

class Reader {
public:
    explicit Reader(const std::string& path) : path_(path) {}

    [[noreturn]] void Fail(const toml::node& where, const std::string& reason) const {
        FailAt(where.source().begin.line, reason);
    }
    [[noreturn]] void FailAt(std::size_t line, const std::string& reason) const {
        throw FleetError(path_ + ":" + std::to_string(line) + ": " + reason);
    }

private:
    std::string path_;
};

std::string Quoted(std::string_view text) {
    return "\"" + std::string(text) + "\"";
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

    void Text(const std::string& key, std::size_t maxLength, std::string& out) {
        const toml::node* node = Find(key);
        if (node == nullptr)
            return;
        const auto value = node->value_exact<std::string>();
        if (!value)
            reader_.Fail(*node, key + " takes a text in quotes");
        if (value->size() > maxLength)
            reader_.Fail(*node, key + " takes at most " + std::to_string(maxLength) +
                                    " characters, this has " + std::to_string(value->size()));
        if (value->find('\0') != std::string::npos)
            reader_.Fail(*node, key + " holds a NUL character");
        out = *value;
    }

    template <typename Number>
    void Integer(const std::string& key, U64 max, Number& out) {
        if (const toml::node* node = Find(key))
            out = static_cast<Number>(ToNumber(*node, key, max));
    }

    U64 ToNumber(const toml::node& node, const std::string& key, U64 max) const {
        const auto value = node.value_exact<int64_t>();
        if (!value)
            reader_.Fail(node, key + " takes a whole number");
        if (*value < 0 || static_cast<U64>(*value) > max)
            reader_.Fail(node, key + " takes 0 to " + std::to_string(max) + ", this is " +
                                   std::to_string(*value));
        return static_cast<U64>(*value);
    }

    // A text that `convert` turns into a value; `expected` says what it takes.
    template <typename Value>
    void Converted(const std::string& key, const std::string& expected, Value& out,
                   const std::function<std::optional<Value>(const std::string&)>& convert) {
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
                               "unknown key " + Quoted(text) + Suggestion(text, known_));
        }
    }

private:
    const Reader& reader_;
    const toml::table& table_;
    std::string name_;
    std::vector<std::string> known_;
};

template <typename Number>
bool ParseNumber(std::string_view text, int base, Number max, Number& out) {
    const auto result = std::from_chars(text.begin(), text.end(), out, base);
    return result.ec == std::errc() && result.ptr == text.end() && out <= max;
}

std::optional<PcieAddress> ParsePcie(const std::string& text) {
    PcieAddress address;
    U32 domain = 0;
    U32 bus = 0;
    U32 device = 0;
    U32 function = 0;
    if (text.size() != 12 || text[4] != ':' || text[7] != ':' || text[10] != '.')
        return std::nullopt;
    const std::string_view view(text);
    if (!ParseNumber(view.substr(0, 4), 16, 0xFFFFU, domain) ||
        !ParseNumber(view.substr(5, 2), 16, 0xFFU, bus) ||
        !ParseNumber(view.substr(8, 2), 16, 0x1FU, device) ||
        !ParseNumber(view.substr(11, 1), 16, 7U, function))
        return std::nullopt;
    address.domain = domain;
    address.bus = static_cast<U8>(bus);
    address.device = static_cast<U8>(device);
    address.function = static_cast<U8>(function);
    return address;
}

std::optional<U32> ParseFirmware(const std::string& text) {
    const std::size_t first = text.find('.');
    const std::size_t second = first == std::string::npos ? first : text.find('.', first + 1);
    if (second == std::string::npos)
        return std::nullopt;
    const std::string_view view(text);
    U32 major = 0;
    U32 minor = 0;
    U32 build = 0;
    if (!ParseNumber(view.substr(0, first), 10, 0xFFU, major) ||
        !ParseNumber(view.substr(first + 1, second - first - 1), 10, 0xFFU, minor) ||
        !ParseNumber(view.substr(second + 1), 10, 0xFFFFU, build))
        return std::nullopt;
    return major << 24 | minor << 16 | build;
}

std::optional<std::array<U8, 16>> ParseUuid(const std::string& text) {
    constexpr std::string_view kShape = "xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx";
    if (text.size() != kShape.size())
        return std::nullopt;
    std::string digits;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if ((kShape[i] == '-') != (text[i] == '-'))
            return std::nullopt;
        if (text[i] != '-')
            digits += text[i];
    }
    std::array<U8, 16> uuid{};
    for (std::size_t i = 0; i < uuid.size(); ++i) {
        U32 byte = 0;
        if (!ParseNumber(std::string_view(digits).substr(2 * i, 2), 16, 0xFFU, byte))
            return std::nullopt;
        uuid[i] = static_cast<U8>(byte);
    }
    return uuid;
}

std::optional<U64> ParseSize(const std::string& text) {
    constexpr std::pair<const char*, int> kUnits[] = {{"KiB", 10}, {"MiB", 20}, {"GiB", 30}};
    for (const auto& [unit, shift] : kUnits) {
        if (!text.ends_with(unit))
            continue;
        U64 number = 0;
        const auto digits = std::string_view(text).substr(0, text.size() - 3);
        if (!ParseNumber(digits, 10, kMaxMemoryBytes >> shift, number))
            return std::nullopt;
        return number << shift;
    }
    return std::nullopt;
}

std::optional<ZEL_CARD_USAGE_MODE> ParseMode(const std::string& text) {
    for (const ModeName& row : kModeNames) {
        if (text == row.name)
            return row.mode;
    }
    return std::nullopt;
}

Fault ReadFault(const Reader& reader, const toml::table& source, bool ofHost) {
    Table table(reader, source, "");
    Fault fault;
    table.Text("call", kMaxCallLength, fault.call);
    table.Integer("status", kMaxU32, fault.status);
    table.Integer("skip", kMaxU32, fault.skip);
    table.Integer("count", kMaxU32, fault.count);
    table.RefuseUnknownKeys();
    if (fault.call.empty())
        reader.Fail(source, "a fault names the call that fails: call = \"ZelGetUUID\"");
    const toml::node& call = *source.get("call");
    if (!IsCall(fault.call))
        reader.Fail(call, "no library has a call " + Quoted(fault.call) +
                              Suggestion(fault.call, CallNames()));
    if (ofHost != IsHostCall(fault.call))
        reader.Fail(call,
                    fault.call + (ofHost ? " concerns a card: put the fault into [[card.fault]]"
                                         : " comes before any card is open: put the fault "
                                           "into [[fault]]"));
    if (fault.status == 0)
        reader.Fail(*source.get("status"), "status 0 is a success: a fault takes another");
    return fault;
}

MemoryFault ReadMemoryFault(const Reader& reader, const toml::table& source, U64 memoryBytes) {
    Table table(reader, source, "");
    MemoryFault fault;
    if (source.get("address") == nullptr)
        reader.Fail(source, "a memory fault names its address: address = 0x2000");
    table.Integer("address", memoryBytes == 0 ? 0 : memoryBytes - 1, fault.address);
    table.Integer("bit", 7, fault.bit);
    table.Integer("stuck", 1, fault.stuck);
    table.RefuseUnknownKeys();
    return fault;
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
        const U64 max = row->width == 64 ? static_cast<U64>(INT64_MAX) : kMaxU32;
        Table table(reader, source, "card.sbox.");
        values.push_back({row->offset, row->width, table.ToNumber(node, name, max)});
    }
}

Generation ReadGeneration(Table& table) {
    Generation generation = Generation::Er1x;
    table.Converted<Generation>("generation", "\"er1x\" or \"ev1x\"", generation,
                                [](const std::string& text) -> std::optional<Generation> {
                                    if (text == "er1x")
                                        return Generation::Er1x;
                                    if (text == "ev1x")
                                        return Generation::Ev1x;
                                    return std::nullopt;
                                });
    return generation;
}

void ReadMemorySize(const Reader& reader, Table& table, const toml::table& source, U64& bytes) {
    const toml::node* node = source.get("memory_size");
    if (node != nullptr && node->is_integer()) {
        table.Integer("memory_size", kMaxMemoryBytes, bytes);
        return;
    }
    table.Converted<U64>("memory_size", "bytes, or a text such as \"8GiB\", at most 64GiB", bytes,
                         ParseSize);
    (void)reader;
}

void ReadIdentity(Table& table, Card& card) {
    table.Text("name", kMaxNameLength, card.name);
    table.Converted<PcieAddress>("pcie", "an address such as \"0000:02:00.0\"", card.pcie,
                                 ParsePcie);
    table.Integer("node", kMaxNode, card.node);
    table.Integer("device_id", kMaxU32, card.deviceId);
    table.Integer("subsystem_id", kMaxU32, card.subsystemId);
    table.Integer("revision_id", kMaxU32, card.revisionId);
    table.Integer("link_speed", kMaxU32, card.linkSpeed);
    table.Integer("link_width", kMaxU32, card.linkWidth);
    table.Text("post_code", kMaxPostCodeLength, card.postCode);
}

void ReadState(Table& table, Card& card) {
    table.Converted<ZEL_CARD_USAGE_MODE>("usage_mode",
                                         "\"normal\", \"maintenance\", \"zombie\", \"memdiag\", "
                                         "\"normal_restricted\", \"offline\" or "
                                         "\"in_transition\"",
                                         card.usageMode, ParseMode);
    table.Integer("cores", kMaxU32, card.cores);
    table.Integer("cpuid", kMaxU32, card.cpuId);
    table.Integer("thread_mask", kMaxU32, card.threadMask);
    table.Converted<U32>("smc_firmware", "a version such as \"1.16.42\"", card.smcFirmware,
                         ParseFirmware);
    table.Integer("smc_hardware", kMaxU32, card.smcHardware);
    table.Converted<std::array<U8, 16>>(
        "uuid", "16 bytes such as \"00112233-4455-6677-8899-aabbccddeeff\"", card.uuid, ParseUuid);
    table.Text("flash_version", kMaxVersionLength, card.flashVersion);
    table.Converted<bool>("ssh", "\"up\" or \"down\"", card.sshUp,
                          [](const std::string& text) -> std::optional<bool> {
                              if (text != "up" && text != "down")
                                  return std::nullopt;
                              return text == "up";
                          });
}

Card ReadCard(const Reader& reader, const toml::table& source, U32 index) {
    Table table(reader, source, "card.");
    Card card = DefaultCard(ReadGeneration(table), index);
    ReadIdentity(table, card);
    ReadState(table, card);
    ReadMemorySize(reader, table, source, card.memoryBytes);
    table.Text("memory_vendor", kMaxMemoryTextLength, card.memoryVendor);
    table.Text("memory_type", kMaxMemoryTextLength, card.memoryType);
    table.Integer("memory_speed", kMaxU32, card.memorySpeed);
    table.Integer("memory_density", kMaxU32, card.memoryDensity);
    table.Integer("memory_revision", 0xFFFF, card.memoryRevision);
    if (const toml::table* sbox = table.SubTable("sbox"))
        ReadSbox(reader, *sbox, card.sbox);
    table.ForEachTable("fault", [&](const toml::table& fault) {
        card.faults.push_back(ReadFault(reader, fault, false));
    });
    table.ForEachTable("memory_fault", [&](const toml::table& fault) {
        card.memoryFaults.push_back(ReadMemoryFault(reader, fault, card.memoryBytes));
    });
    table.RefuseUnknownKeys();
    return card;
}

void RefuseSharedAddress(const Reader& reader, const toml::table& source,
                         const std::vector<Card>& cards) {
    const PcieAddress& added = cards.back().pcie;
    for (std::size_t i = 0; i + 1 < cards.size(); ++i) {
        if (cards[i].pcie == added)
            reader.Fail(source, "zel" + std::to_string(cards.size() - 1) + " is on " +
                                    ToText(added) + ", and so is zel" + std::to_string(i));
    }
}

void ReadHost(const Reader& reader, const toml::table& source, Fleet& fleet) {
    Table table(reader, source, "host.");
    table.Text("hosk_version", kMaxVersionLength, fleet.hoskVersion);
    table.RefuseUnknownKeys();
}

// The file's text. Anything but a regular file is refused: a device or a pipe might never end.
std::string ReadText(const std::string& path) {
    const auto fail = [&](const std::string& reason) { throw FleetError(path + ": " + reason); };
    const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status {};
    if (!file.IsOpen() || fstat(file.Get(), &status) != 0)
        fail(std::string("cannot be read: ") + std::strerror(errno));
    if (!S_ISREG(status.st_mode))
        fail("is not a regular file");
    if (status.st_size > kMaxFileBytes)
        fail("is larger than " + std::to_string(kMaxFileBytes >> 20) + " MiB");
    std::string text(static_cast<std::size_t>(status.st_size), '\0');
    std::size_t filled = 0;
    while (filled < text.size()) {
        const ssize_t length = read(file.Get(), text.data() + filled, text.size() - filled);
        if (length < 0 && errno == EINTR)
            continue;
        if (length < 0)
            fail(std::string("cannot be read: ") + std::strerror(errno));
        if (length == 0)
            break;
        filled += static_cast<std::size_t>(length);
    }
    text.resize(filled);
    return text;
}

toml::table ParseFile(const Reader& reader, const std::string& path) {
    const std::string text = ReadText(path);
    try {
        return toml::parse(text, path);
    } catch (const toml::parse_error& fault) {
        reader.FailAt(fault.source().begin.line, std::string(fault.description()));
    }
}

}  // namespace

Fleet ReadFleet(const std::string& path) {
    const Reader reader(path);
    const toml::table source = ParseFile(reader, path);
    Table table(reader, source, "");
    Fleet fleet;
    if (const toml::table* host = table.SubTable("host"))
        ReadHost(reader, *host, fleet);
    table.ForEachTable("fault", [&](const toml::table& fault) {
        fleet.faults.push_back(ReadFault(reader, fault, true));
    });
    table.ForEachTable("card", [&](const toml::table& card) {
        if (fleet.cards.size() == kMaxCards)
            reader.Fail(card, "a host takes at most " + std::to_string(kMaxCards) + " cards");
        fleet.cards.push_back(ReadCard(reader, card, static_cast<U32>(fleet.cards.size())));
        RefuseSharedAddress(reader, card, fleet.cards);
    });
    table.RefuseUnknownKeys();
    return fleet;
}

}  // namespace simulated
