// zelhealth run, zelhealth check.
#pragma once

#include <CLI/App.hpp>

namespace zelhealth {

// Each declares its command below `app`; when it is given, it leaves its exit status in `status`.
void DeclareRun(CLI::App& app, int& status);
void DeclareCheck(CLI::App& app, int& status);

}  // namespace zelhealth
