// A file that is nowhere but in memory, for code that reads by name. Its name stays the same from input to input.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <string>
#include <string_view>

#include "support/Expect.h"

namespace fuzz {

class MemoryFile {
public:
    MemoryFile() : descriptor_(memfd_create("input", MFD_CLOEXEC)) {
        Expect(descriptor_ >= 0, "a file in memory can be made");
    }
    ~MemoryFile() { close(descriptor_); }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    void Set(std::string_view text) const {
        const bool written =
            ftruncate(descriptor_, 0) == 0 &&
            pwrite(descriptor_, text.data(), text.size(), 0) == static_cast<ssize_t>(text.size());
        Expect(written, "the file in memory can be written");
    }

    std::string Name() const { return "/proc/self/fd/" + std::to_string(descriptor_); }

private:
    int descriptor_;
};

}  // namespace fuzz
