// zelhealth check.
#pragma once

#include <CLI/App.hpp>
#include <string>
#include <vector>

namespace zelhealth {

// Declares the command below `app`; when it is given, it leaves its exit status in `status`. `words` are those of the
// command line, for the record.
void DeclareCheck(CLI::App& app, const std::vector<std::string>& words, int& status);

}  // namespace zelhealth
