// Files and mounts of a simulated host in the making.
#include "zelsim/HostFiles.h"

#include <sys/mount.h>

#include <cerrno>
#include <cstring>
#include <fstream>

#include "zelsim/Host.h"

namespace simulated {

namespace fs = std::filesystem;

void ThrowHostError(const std::string& what) {
    throw HostError(what + ": " + std::strerror(errno));
}

void Mount(const std::string& source, const std::string& target, const char* type,
           unsigned long flags, const std::string& options) {
    if (mount(source.c_str(), target.c_str(), type, flags, options.c_str()) != 0)
        ThrowHostError("cannot mount " + (type == nullptr ? source : std::string(type)) + " on " +
                       target);
}

void WriteFile(const fs::path& path, const std::string& text, fs::perms permissions) {
    fs::create_directories(path.parent_path());
    std::ofstream file(path);
    file << text;
    file.close();
    if (!file)
        ThrowHostError("cannot write " + path.string());
    fs::permissions(path, permissions);
}

}  // namespace simulated
