// The keys of fleet files: all, and those that a file uses. A key is written with the tables that it stands
// in: "card.memory_fault.every".
#pragma once

#include <set>
#include <string>

// And each table without keys of its own, such as "card.sbox".
std::set<std::string> AllFleetKeys();

// The keys and tables that stand in a fleet file.
std::set<std::string> KeysUsedBy(const std::string& fleet);
