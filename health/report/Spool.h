// What has to wait until everything was read. It stays in memory while it is little; more goes to a file without
// a name in the folder for temporary files (TMPDIR, otherwise /tmp).
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "run/Descriptor.h"

namespace zelhealth {

class Spool {
public:
    struct Place {
        std::uint64_t begin = 0;
        std::uint64_t size = 0;
    };

    // The first error is kept for Read.
    Place Add(std::string_view bytes);

    // The bytes that were added. Throws std::runtime_error when not all can be told.
    std::string Read(const Place& place) const;

private:
    void Spill();

    std::string waiting_;        // the last bytes, not yet in the file
    std::uint64_t spilled_ = 0;  // how many are in the file
    Descriptor file_;
    int error_ = 0;
};

}  // namespace zelhealth
