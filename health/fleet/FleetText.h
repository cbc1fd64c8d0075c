// A fleet's report as text.
#pragma once

#include <string>

#include "fleet/FleetReport.h"

namespace zelhealth {

std::string FleetText(const FleetReport& fleet, const Summary& summary, std::size_t columns,
                      bool colours);

}  // namespace zelhealth
