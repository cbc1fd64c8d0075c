// Reads Settings.ini.
#include "host/SettingsFile.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace zelhealth {

namespace {

std::string Trim(const std::string& text) {
    constexpr char kBlanks[] = " \t\r\"";
    const auto first = text.find_first_not_of(kBlanks);
    return first == std::string::npos
               ? ""
               : text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

std::vector<std::string> SplitValues(const std::string& list) {
    std::vector<std::string> values;
    std::istringstream rest(list);
    for (std::string one; std::getline(rest, one, ',');) {
        if (std::string text = Trim(one); !text.empty())
            values.push_back(std::move(text));
    }
    return values;
}

}  // namespace

SettingsKeys ReadSettings(const std::filesystem::path& file) {
    std::ifstream stream(file);
    if (!stream)
        throw std::runtime_error(std::strerror(errno));
    SettingsKeys keys;
    std::string section;
    for (std::string line; std::getline(stream, line);) {
        line = Trim(line.substr(0, line.find(';')));
        const auto equals = line.find('=');
        if (line.starts_with('['))
            section = Trim(line.substr(1, line.find(']') - 1));
        else if (equals != std::string::npos && !line.starts_with('#'))
            keys[section + "." + Trim(line.substr(0, equals))] =
                SplitValues(line.substr(equals + 1));
    }
    return keys;
}

}  // namespace zelhealth
