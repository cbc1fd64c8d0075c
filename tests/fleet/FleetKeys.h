// The keys of fleet files: those that the reader knows, and those that a file uses. A key is written with
// the tables that it stands in: "card.memory_fault.every".
#pragma once

#include <set>
#include <string>

// A table of the file: its name, and a fleet that ends in it and is accepted.
struct FleetTable {
    const char* name;
    const char* fleet;
};

inline constexpr FleetTable kFleetTables[] = {
    {"host", "[host]\n"},
    {"card", "[[card]]\n"},
    {"fault", "[[fault]]\ncall = \"ZelInitAPI\"\n"},
    {"card.fault", "[[card]]\n[[card.fault]]\ncall = \"ZelGetUUID\"\n"},
    {"card.memory_fault", "[[card]]\n[[card.memory_fault]]\naddress = 0\n"},
    {"card.address_fault", "[[card]]\n[[card.address_fault]]\nline = 0\n"},
    {"card.dma_fault", "[[card]]\n[[card.dma_fault]]\nto = \"card\"\n"},
    {"card.vpu_fault", "[[card]]\n[card.vpu_fault]\noperation = \"add\"\n"},
    {"card.cache_fault", "[[card]]\n[card.cache_fault]\noperation = \"walk\"\n"},
};

// The keys of the table in which `fleet` ends, as the reader lists them when it is given one that is like
// none of them. A table inside it is one, too.
std::set<std::string> ReadersKeys(const std::string& fleet);

// The keys of every table, and each table that is none of kFleetTables, such as "card.sbox".
std::set<std::string> AllFleetKeys();

// The keys and tables that stand in a fleet file.
std::set<std::string> KeysUsedBy(const std::string& fleet);
