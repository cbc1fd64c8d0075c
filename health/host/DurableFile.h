// Files that are there as a whole or not at all, and survive a loss of power.
#pragma once

#include <filesystem>
#include <string>

namespace zelhealth {

// Makes the text the file's, and waits until it is on the disk. Folders above that are missing are made. Gives
// what went wrong, empty when nothing did; the file is as it was then.
std::string ReplaceDurably(const std::filesystem::path& file, const std::string& text);

// Gives what went wrong; nothing does where there is no such file.
std::string RemoveDurably(const std::filesystem::path& file);

}  // namespace zelhealth
