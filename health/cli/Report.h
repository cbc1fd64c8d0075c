// zelhealth report.
#pragma once

#include <CLI/App.hpp>

namespace zelhealth {

// Declares the command below `app`; when it is given, it leaves its exit status in `status`.
void DeclareReport(CLI::App& app, int& status);

}  // namespace zelhealth
