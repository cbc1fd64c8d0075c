// Where reports are to be written.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace zelhealth {

// None where nothing is told; "-" is standard output.
struct ReportFiles {
    std::optional<std::string> html;
    std::optional<std::string> junit;
    std::optional<std::string> metrics;
    std::optional<std::string> csv;

    std::vector<std::string> Names() const;
};

}  // namespace zelhealth
