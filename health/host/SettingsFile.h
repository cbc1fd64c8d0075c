// The keys of the tool's Settings.ini, as far as it matters whether they are there. Whether the file as
// a whole is one that the tool takes, the tool says itself.
#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace zelhealth {

// By "section.key": the values, as they are written.
using SettingsKeys = std::map<std::string, std::vector<std::string>>;

// Throws std::runtime_error when the file cannot be read.
SettingsKeys ReadSettings(const std::filesystem::path& file);

}  // namespace zelhealth
