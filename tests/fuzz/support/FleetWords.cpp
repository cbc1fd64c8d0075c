// Prints the keys and tables of fleet files, as words of libFuzzer's dictionary.
#include <cstdio>

#include "fleet/FleetTables.h"

int main() {
    for (const simulated::FleetTable& table : simulated::FleetTables()) {
        std::printf(table.isList ? "\"[[%s]]\"\n" : "\"[%s]\"\n", table.name.c_str());
        for (const simulated::KeyLine& key : table.keys)
            std::printf("\"%s = \"\n", key.name.c_str());
    }
}
