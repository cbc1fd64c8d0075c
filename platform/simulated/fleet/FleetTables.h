// All tables of a fleet file with their keys, as texts: for the reader's refusals, and for whoever goes
// through them all.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace simulated {

// A row of the document.
struct KeyLine {
    std::string name;
    std::string takes;
    std::string byDefault;
    bool isPreset;  // by the generation
};

struct FleetTable {
    std::string name;  // with the table that it stands in: "card.memory_fault"
    bool isList;
    std::vector<KeyLine> keys;  // none of "card.sbox", where registers stand
};

const std::vector<FleetTable>& FleetTables();

// What may stand in a table: its keys, then the tables inside it. The file itself is the table "".
std::vector<std::string> NamesIn(std::string_view table);

}  // namespace simulated
