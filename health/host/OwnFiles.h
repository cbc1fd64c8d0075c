// What no output may take the place of: what an operator has written, and what zelhealth keeps for itself.
#pragma once

#include <string>
#include <vector>

#include "host/Folders.h"

namespace zelhealth {

// The names of an operator's files in the folder of the configuration.
const std::vector<std::string>& OperatorFiles();

// Why outputs cannot all be written: one is a file that zelhealth reads, or keeps, by whatever name or link it is
// given. Empty when they can.
std::string OwnFileClash(const Folders& folders, const std::vector<std::string>& outputs);

}  // namespace zelhealth
