// Makes the files of an inventory of what a host has.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "inventory/Inventory.h"

namespace zelhealth {

// inventory.toml, of these cards.
std::string InventoryText(const std::vector<FoundCard>& cards);

// fleet.toml: what all cards of a generation have, each field with all values that occur.
std::string FleetText(const std::vector<FoundCard>& cards);

// Whether a file stands as one of the two above was written: its first line holds a checksum of the rest.
// One that is not there does.
bool IsAsWritten(const std::filesystem::path& file);

}  // namespace zelhealth
