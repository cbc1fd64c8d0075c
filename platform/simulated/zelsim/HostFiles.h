// Files and mounts of a simulated host in the making. Everything here throws HostError.
#pragma once

#include <filesystem>
#include <string>

namespace simulated {

// Throws "WHAT: the system's reason".
[[noreturn]] void ThrowHostError(const std::string& what);

// Mounts a file system; `options` are its own, as mount -o takes them.
void Mount(const std::string& source, const std::string& target, const char* type,
           unsigned long flags, const std::string& options);

// Writes a file and the folders on the way to it.
void WriteFile(const std::filesystem::path& path, const std::string& text,
               std::filesystem::perms permissions);

}  // namespace simulated
