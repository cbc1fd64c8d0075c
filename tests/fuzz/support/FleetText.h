// A fleet as a fleet file that gives every key.
#pragma once

#include <string>

#include "fleet/Fleet.h"

namespace fuzz {

std::string WriteFleet(const simulated::Fleet& fleet);

}  // namespace fuzz
