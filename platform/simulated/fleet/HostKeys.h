// The keys of [host].
#pragma once

#include "fleet/Fleet.h"
#include "fleet/FleetForms.h"

namespace simulated {

inline constexpr Key<Fleet> kHostKeys[] = {
    {"hosk_version", Text<&Fleet::hoskVersion>(),
     "what the package query reports; `\"\"`: not installed", "`\"3.1.2\"`"},
};

}  // namespace simulated
