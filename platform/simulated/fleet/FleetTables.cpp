// All tables of a fleet file with their keys.
#include "fleet/FleetTables.h"

#include "fleet/CardKeys.h"
#include "fleet/FaultKeys.h"
#include "fleet/HostKeys.h"

namespace simulated {

namespace {

template <typename Object>
KeyLine LineOf(const Key<Object>& key) {
    const Field<Object>& field = key.field;
    const bool isPreset = *key.ofEv1x != '\0';
    KeyLine line = {
        .name = key.name,
        .takes = field.called == nullptr ? field.form(field.limits) : field.called,
        .byDefault = key.byDefault,
        .isPreset = isPreset,
    };
    if (*key.meaning != '\0')
        line.takes += std::string(": ") + key.meaning;
    if (field.missing != nullptr)
        line.takes += "; must be there";
    if (isPreset)
        line.byDefault = "er1x " + line.byDefault + "; ev1x " + key.ofEv1x;
    return line;
}

template <typename Object, std::size_t Count>
std::vector<KeyLine> LinesOf(const Key<Object> (&keys)[Count]) {
    std::vector<KeyLine> lines;
    for (const Key<Object>& key : keys)
        lines.push_back(LineOf(key));
    return lines;
}

}  // namespace

const std::vector<FleetTable>& FleetTables() {
    static const std::vector<FleetTable> tables = {
        {"host", false, LinesOf(kHostKeys)},
        {"fault", true, LinesOf(kFaultKeys)},
        {"card", true, LinesOf(kCardKeys)},
        {"card.sbox", false, {}},
        {"card.fault", true, LinesOf(kFaultKeys)},
        {"card.memory_fault", true, LinesOf(kMemoryFaultKeys)},
        {"card.address_fault", true, LinesOf(kAddressFaultKeys)},
        {"card.dma_fault", true, LinesOf(kDmaFaultKeys)},
        {"card.vpu_fault", false, LinesOf(kVpuFaultKeys)},
        {"card.cache_fault", false, LinesOf(kCacheFaultKeys)},
    };
    return tables;
}

std::vector<std::string> NamesIn(std::string_view table) {
    std::vector<std::string> names;
    for (const FleetTable& row : FleetTables()) {
        for (const KeyLine& key : row.keys) {
            if (row.name == table)
                names.push_back(key.name);
        }
    }
    const std::string prefix = std::string(table) + (table.empty() ? "" : ".");
    for (const FleetTable& row : FleetTables()) {
        const bool isInside = row.name.starts_with(prefix) && row.name != table;
        if (isInside && row.name.find('.', prefix.size()) == std::string::npos)
            names.push_back(row.name.substr(prefix.size()));
    }
    return names;
}

}  // namespace simulated
