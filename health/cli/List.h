// zelhealth list, zelhealth plan check.
#pragma once

#include <CLI/App.hpp>

namespace zelhealth {

// Each declares its command below `app`; when it is given, it leaves its exit status in `status`.
void DeclareList(CLI::App& app, int& status);
void DeclarePlan(CLI::App& app, int& status);

}  // namespace zelhealth
