// A fleet's report as what a page's script draws.
#pragma once

#include "fleet/FleetReport.h"
#include "record/Record.h"

namespace zelhealth {

// The first of what is many: {"nodes", "rows", "differences", "slow", "looks"}; the looks are those of the summary's
// groups, the worst first.
Json FleetData(const FleetReport& fleet, const Summary& summary);

}  // namespace zelhealth
