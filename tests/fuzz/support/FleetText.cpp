// Writes every key, so that nothing is left to a default.
#include "FleetText.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <sstream>

#include "Expect.h"
#include "fleet/CardKeys.h"
#include "fleet/FaultKeys.h"
#include "fleet/HostKeys.h"

namespace fuzz {

namespace {

using simulated::Key;

struct SboxRegister {
    const char* name;
    U32 offset;
};

constexpr SboxRegister kSboxRegisters[] = {
#define SBOX_REGISTER(name, offset, size, default_value, origin) {#name, offset},
#include "SboxRegisters.def"
#undef SBOX_REGISTER
};

std::string Quoted(std::string_view text) {
    std::string quoted = "\"";
    for (const char c : text) {
        char escape[8];
        const auto byte = static_cast<unsigned char>(c);
        std::snprintf(escape, sizeof(escape), "\\u%04X", byte);
        const bool plain = byte >= 0x20 && byte != 0x7F && c != '"' && c != '\\';
        quoted += plain ? std::string(1, c) : escape;
    }
    return quoted + "\"";
}

std::string Hex(U64 number) {
    char text[19];
    std::snprintf(text, sizeof(text), "0x%llx", static_cast<unsigned long long>(number));
    return text;
}

std::string ToText(const simulated::Written& written) {
    if (const auto* const text = std::get_if<std::string>(&written))
        return Quoted(*text);
    if (const auto* const flag = std::get_if<bool>(&written))
        return *flag ? "true" : "false";
    return std::to_string(std::get<std::int64_t>(written));
}

template <typename Object, std::size_t Count>
void WriteKeys(std::ostream& out, const Key<Object> (&keys)[Count],
               const std::type_identity_t<Object>& object) {
    for (const Key<Object>& key : keys) {
        const simulated::Written written = key.field.give(object, key.field.limits);
        if (written.index() != 0)
            out << key.name << " = " << ToText(written) << "\n";
    }
}

template <typename Object, std::size_t Count>
void WriteList(std::ostream& out, const char* table, const Key<Object> (&keys)[Count],
               const std::vector<Object>& list) {
    for (const Object& object : list) {
        out << "[[" << table << "]]\n";
        WriteKeys(out, keys, object);
    }
}

void WriteRegister(std::ostream& out, const simulated::SboxValue& value) {
    const auto* const row =
        std::find_if(std::begin(kSboxRegisters), std::end(kSboxRegisters),
                     [&value](const SboxRegister& r) { return r.offset == value.offset; });
    Expect(row != std::end(kSboxRegisters), "a register exists");
    Expect(value.width == 64 || value.value <= 0xFFFFFFFF, "a register's value fits it");
    out << row->name << " = " << Quoted(Hex(value.value)) << "\n";
}

template <std::size_t Count>
void WriteCoreFault(std::ostream& out, const char* table,
                    const Key<simulated::CoreFault> (&keys)[Count],
                    const simulated::CoreFault& fault) {
    if (fault.operation.View().empty())
        return;
    out << "[" << table << "]\n";
    WriteKeys(out, keys, fault);
}

void WriteCard(std::ostream& out, const simulated::Card& card) {
    out << "[[card]]\n";
    WriteKeys(out, simulated::kCardKeys, card);
    if (!card.sbox.empty())
        out << "[card.sbox]\n";
    for (const simulated::SboxValue& value : card.sbox)
        WriteRegister(out, value);
    WriteList(out, "card.fault", simulated::kFaultKeys, card.faults);
    WriteList(out, "card.memory_fault", simulated::kMemoryFaultKeys, card.memoryFaults);
    WriteList(out, "card.address_fault", simulated::kAddressFaultKeys, card.addressFaults);
    WriteList(out, "card.dma_fault", simulated::kDmaFaultKeys, card.dmaFaults);
    WriteCoreFault(out, "card.vpu_fault", simulated::kVpuFaultKeys, card.vpuFault);
    WriteCoreFault(out, "card.cache_fault", simulated::kCacheFaultKeys, card.cacheFault);
}

}  // namespace

std::string WriteFleet(const simulated::Fleet& fleet) {
    std::ostringstream out;
    out << "[host]\n";
    WriteKeys(out, simulated::kHostKeys, fleet);
    WriteList(out, "fault", simulated::kFaultKeys, fleet.faults);
    for (const simulated::Card& card : fleet.cards)
        WriteCard(out, card);
    return out.str();
}

}  // namespace fuzz
