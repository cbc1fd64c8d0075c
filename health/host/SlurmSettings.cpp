#include "host/SlurmSettings.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

#include "host/Likely.h"

namespace zelhealth {

namespace {

bool IsYesOrNo(std::string_view value) {
    return value == "yes" || value == "no";
}

bool IsPercentage(std::string_view value) {
    constexpr std::size_t kMostDigits = 3;
    constexpr int kWhole = 100;
    const bool isNumber = !value.empty() && value.size() <= kMostDigits &&
                          value.find_first_not_of("0123456789") == std::string_view::npos &&
                          (value == "0" || value.front() != '0');
    return isNumber && std::stoi(std::string(value)) <= kWhole;
}

bool IsAbsolute(std::string_view value) {
    return value.starts_with('/');
}

struct Setting {
    const char* key;
    bool (*isRight)(std::string_view value);
    const char* takes;
};

constexpr Setting kSettings[] = {
    {"report_only", IsYesOrNo, "is yes or no"},
    {"drain_on_unknown", IsYesOrNo, "is yes or no"},
    {"partition_cap", IsPercentage, "is a number from 0 to 100"},
    {"zelhealth", IsAbsolute, "begins with /"},
    {"slurm_conf", IsAbsolute, "begins with /"},
    {"slurm_programs", IsAbsolute, "begins with /"},
};

std::string WhyUnknown(const std::string& key) {
    std::vector<std::string> keys;
    for (const Setting& setting : kSettings) {
        keys.emplace_back(setting.key);
    }
    const std::string likely = Likely(key, keys);
    return fmt::format("there is no setting \"{}\"; {}", key,
                       likely.empty() ? fmt::format("there are {}", fmt::join(keys, ", "))
                                      : fmt::format("did you mean \"{}\"?", likely));
}

// "" of a line that is right.
std::string WhatIsWrongWith(const std::string& line) {
    if (line.empty() || line.front() == '#') {
        return "";
    }
    const std::size_t equals = line.find('=');
    if (equals == std::string::npos) {
        return "a line is KEY=VALUE";
    }
    const std::string key = line.substr(0, equals);
    const auto* const setting =
        std::find_if(std::begin(kSettings), std::end(kSettings),
                     [&key](const Setting& known) { return known.key == key; });
    if (setting == std::end(kSettings)) {
        return WhyUnknown(key);
    }
    const bool isRight = setting->isRight(std::string_view(line).substr(equals + 1));
    return isRight ? "" : fmt::format("{} {}", key, setting->takes);
}

}  // namespace

std::vector<std::string> FaultsOfSlurmSettings(const std::filesystem::path& file) {
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(file, error);
    if (status.type() == std::filesystem::file_type::not_found) {
        return {};
    }
    std::vector<std::string> faults;
    const auto add = [&](int line, const std::string& why) {
        faults.push_back(fmt::format("{}:{}: {}", file.string(), line, why));
    };
    std::ifstream in(file);
    if (status.type() != std::filesystem::file_type::regular || !in) {
        add(0, "it cannot be read");
        return faults;
    }
    int number = 0;
    for (std::string line; std::getline(in, line);) {
        ++number;
        if (const std::string why = WhatIsWrongWith(line); !why.empty()) {
            add(number, why);
        }
    }
    if (in.bad()) {
        add(number, "it cannot be read");
    }
    return faults;
}

}  // namespace zelhealth
