// The table [card.sbox], whose keys are the registers' names.
#pragma once

#include <vector>

#include "fleet/Faults.h"
#include "fleet/FleetReader.h"

namespace simulated {

std::vector<SboxValue> ReadSbox(const Reader& reader, const toml::table& source);

}  // namespace simulated
