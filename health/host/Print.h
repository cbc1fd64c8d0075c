// Writes to a standard stream.
#pragma once

#include <cstdio>
#include <string_view>

namespace zelhealth {

// What cannot be written is left to std::ferror. Nothing is thrown: a run ends its tests and takes its cards
// back, whoever has closed the terminal or filled the disk.
inline void Print(std::FILE* out, std::string_view text) {
    (void)std::fwrite(text.data(), 1, text.size(), out);
}

}  // namespace zelhealth
