// The table [card.sbox].
#include "fleet/SboxTable.h"

#include <algorithm>
#include <limits>

#include "fleet/FleetForms.h"
#include "fleet/Suggestion.h"

namespace simulated {

namespace {

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

// A whole number; one that TOML's signed numbers do not reach, as a text in hexadecimal digits.
U64 ReadValue(const Reader& reader, const toml::node& node, const SboxRegister& row) {
    const U64 most = row.width == 64 ? ~U64{0} : std::numeric_limits<U32>::max();
    const auto text = node.value_exact<std::string>();
    if (!text) {
        U64 number = 0;
        const std::string refusal =
            TakeNumber(WrittenAt(node), {.most = std::min<U64>(most, INT64_MAX)}, number);
        if (!refusal.empty())
            reader.Fail(node, row.name + refusal);
        return number;
    }
    const auto value = ParseHexadecimal(*text);
    if (!value || *value > most)
        reader.Fail(node, std::string(row.name) + " takes a whole number, or a text such as " +
                              Quoted("0xF") + ", of " + std::to_string(row.width) + " bits");
    return *value;
}

}  // namespace

std::vector<SboxValue> ReadSbox(const Reader& reader, const toml::table& source) {
    std::vector<SboxValue> values;
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
        values.push_back({row->offset, row->width, ReadValue(reader, node, *row)});
    }
    return values;
}

}  // namespace simulated
