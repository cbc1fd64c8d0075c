// What an operator tells zelhealth about this host: zelhealth.toml in the configuration folder.
//
//   busy = 'fuser -s "/dev/$1"'
#pragma once

#include <filesystem>
#include <string>

namespace zelhealth {

struct Configuration {
    // Shell text that says whether a card is in use (Busy.h); "" when none is told.
    std::string busy;

    // Without a file everything is as above. Throws std::runtime_error with file, line and reason.
    static Configuration Load(const std::filesystem::path& file);
};

}  // namespace zelhealth
