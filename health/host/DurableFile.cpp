#include "host/DurableFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <system_error>

#include "host/Folders.h"
#include "host/OutputFile.h"
#include "run/Descriptor.h"

namespace zelhealth {

namespace fs = std::filesystem;

namespace {

std::string Failure(const char* what, const fs::path& path) {
    return std::string("cannot ") + what + " " + path.string() + ": " + std::strerror(errno);
}

// A name is on the disk when its folder is; descriptors' has no disk.
std::string SyncFolder(const fs::path& folder) {
    const Descriptor file(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!file.IsOpen() || (fsync(file.Get()) != 0 && errno != EINVAL))
        return Failure("synchronise", folder);
    return "";
}

std::string MakeDurableFolder(const fs::path& folder) {
    std::error_code error;
    if (fs::is_directory(folder, error))
        return "";
    std::string above = MakeDurableFolder(FolderOf(folder));
    if (!above.empty())
        return above;
    if (std::string fault = MakeFolder(folder); !fault.empty())
        return fault;
    return SyncFolder(FolderOf(folder));
}

}  // namespace

std::string ReplaceDurably(const fs::path& file, const std::string& text) {
    if (std::string fault = MakeDurableFolder(FolderOf(file)); !fault.empty())
        return fault;
    try {
        OutputFile out(file);
        out.Write(text);
        out.Commit();
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return SyncFolder(FolderOf(file));
}

std::string RemoveDurably(const fs::path& file) {
    if (unlink(file.c_str()) != 0)
        return errno == ENOENT ? "" : Failure("remove", file);
    return SyncFolder(FolderOf(file));
}

}  // namespace zelhealth
