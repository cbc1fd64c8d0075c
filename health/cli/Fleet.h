// zelhealth fleet: a run on each node of a cluster, or streams of such runs, as one report.
#pragma once

#include <CLI/App.hpp>

namespace zelhealth {

void DeclareFleet(CLI::App& app, int& status);

}  // namespace zelhealth
