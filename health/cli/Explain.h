// zelhealth explain.
#pragma once

#include <CLI/App.hpp>
#include <string>
#include <vector>

namespace zelhealth {

// Declares the command below `app`; when it is given, it leaves its exit status in `status`. `words` are the
// program's arguments as they were typed.
void DeclareExplain(CLI::App& app, const std::vector<std::string>& words, int& status);

}  // namespace zelhealth
