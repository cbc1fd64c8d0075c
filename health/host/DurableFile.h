// Files that are there as a whole or not at all, and survive a loss of power.
#pragma once

#include <filesystem>
#include <string>

namespace zelhealth {

// Writes the text beside the file, and then gives it the file's name; each step is waited for until it is on
// the disk. Folders above that are missing are made. Gives what went wrong, empty when nothing did; the file
// is as it was then.
std::string ReplaceDurably(const std::filesystem::path& file, const std::string& text);

// Gives what went wrong; nothing does where there is no such file.
std::string RemoveDurably(const std::filesystem::path& file);

}  // namespace zelhealth
