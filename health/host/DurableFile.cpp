#include "host/DurableFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <system_error>

#include "host/Folders.h"
#include "run/Descriptor.h"

namespace zelhealth {

namespace fs = std::filesystem;

namespace {

std::string Failure(const char* what, const fs::path& path) {
    return std::string("cannot ") + what + " " + path.string() + ": " + std::strerror(errno);
}

// A name is on the disk when its folder is.
std::string SyncFolder(const fs::path& folder) {
    const Descriptor file(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!file.IsOpen() || fsync(file.Get()) != 0)
        return Failure("synchronise", folder);
    return "";
}

std::string MakeDurableFolder(const fs::path& folder) {
    std::error_code error;
    if (fs::is_directory(folder, error))
        return "";
    std::string above = MakeDurableFolder(folder.parent_path());
    if (!above.empty())
        return above;
    if (std::string fault = MakeFolder(folder); !fault.empty())
        return fault;
    return SyncFolder(folder.parent_path());
}

std::string WriteDurably(const fs::path& path, const std::string& text) {
    constexpr mode_t kReadable = 0644;
    const Descriptor file(
        open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, kReadable));
    if (!file.IsOpen())
        return Failure("write", path);
    for (std::size_t written = 0; written < text.size();) {
        const ssize_t bytes = write(file.Get(), text.data() + written, text.size() - written);
        if (bytes < 0 && errno != EINTR)
            return Failure("write", path);
        written += bytes < 0 ? 0 : static_cast<std::size_t>(bytes);
    }
    return fsync(file.Get()) == 0 ? "" : Failure("write", path);
}

}  // namespace

std::string ReplaceDurably(const fs::path& file, const std::string& text) {
    if (std::string fault = MakeDurableFolder(file.parent_path()); !fault.empty())
        return fault;
    fs::path fresh = file;
    fresh += ".new";
    std::string fault = WriteDurably(fresh, text);
    if (fault.empty() && rename(fresh.c_str(), file.c_str()) != 0)
        fault = Failure("write", file);
    if (!fault.empty()) {
        unlink(fresh.c_str());
        return fault;
    }
    return SyncFolder(file.parent_path());
}

std::string RemoveDurably(const fs::path& file) {
    if (unlink(file.c_str()) != 0)
        return errno == ENOENT ? "" : Failure("remove", file);
    return SyncFolder(file.parent_path());
}

}  // namespace zelhealth
