// zelhealth history: what the stored runs of this host come to.
#pragma once

#include <CLI/App.hpp>

namespace zelhealth {

void DeclareHistory(CLI::App& app, int& status);

}  // namespace zelhealth
