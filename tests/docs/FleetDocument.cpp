// Prints docs/simulated-platform.md, which is given, with the tables of keys that the rows make.
//
// A table stands below a heading that names it in brackets, perhaps beside another: ### `[[card]]`
#include <cstdio>
#include <exception>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <string>

#include "fleet/FleetTables.h"

namespace {

using simulated::FleetTable;
using simulated::FleetTables;
using simulated::KeyLine;

constexpr char kTableBegin[] = "| key | takes | default |\n|---|---|---|\n";

std::string TextOf(const FleetTable& table) {
    std::ostringstream text;
    text << kTableBegin;
    for (const KeyLine& key : table.keys)
        text << "| `" << key.name << "`" << (key.isPreset ? " *" : "") << " | " << key.takes
             << " | " << key.byDefault << (key.byDefault.empty() ? "|\n" : " |\n");
    return text.str();
}

std::string HeadingOf(const FleetTable& table) {
    return table.isList ? "`[[" + table.name + "]]`" : "`[" + table.name + "]`";
}

// Where the line of the document that is the table's heading ends.
std::size_t FindHeading(const std::string& document, const FleetTable& table) {
    const std::string name = HeadingOf(table);
    for (std::size_t at = document.find("\n### "); at != document.npos;
         at = document.find("\n### ", at + 1)) {
        const std::size_t end = document.find('\n', at + 1);
        if (document.substr(at, end - at).find(name) != std::string::npos)
            return end;
    }
    throw std::runtime_error("no heading has " + name);
}

void Replace(std::string& document, const FleetTable& table) {
    const std::size_t heading = FindHeading(document, table);
    const std::size_t begin = document.find(kTableBegin, heading);
    if (begin == document.npos || begin > document.find("\n#", heading))
        throw std::runtime_error("no table of keys stands below " + HeadingOf(table));
    document.replace(begin, document.find("\n\n", begin) + 1 - begin, TextOf(table));
}

}  // namespace

int main() {
    try {
        std::ostringstream given;
        given << std::cin.rdbuf();
        std::string document = given.str();
        for (const FleetTable& table : FleetTables()) {
            if (table.keys.empty())
                FindHeading(document, table);
            else
                Replace(document, table);
        }
        std::cout << document;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "docs/simulated-platform.md: %s\n", error.what());
        return 1;
    }
}
