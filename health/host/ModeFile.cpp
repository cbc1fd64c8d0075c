// Writes notes so that they survive a loss of power: first the file beside the one that is to be, then
// its name, each waited for until it is on the disk.
#include "host/ModeFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>
#include <system_error>

#include "host/Folders.h"
#include "run/Descriptor.h"

namespace zelhealth {

namespace fs = std::filesystem;
using nlohmann::json;

namespace {

constexpr int kVersion = 1;
constexpr char kEnding[] = ".json";

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
    // A text this short is written whole or not at all, but for a disk that becomes full in it.
    const ssize_t written = write(file.Get(), text.data(), text.size());
    if (written >= 0 && static_cast<std::size_t>(written) != text.size())
        errno = ENOSPC;
    if (written != static_cast<ssize_t>(text.size()) || fsync(file.Get()) != 0)
        return Failure("write", path);
    return "";
}

json ToJson(const ModeNote& note) {
    return {{"version", kVersion}, {"pcie", note.pcie}, {"uuid", note.uuid}, {"found", note.found},
            {"ours", note.ours},   {"time", note.time}, {"boot", note.boot}, {"run", note.run}};
}

ModeNote FromJson(const json& text) {
    if (text.at("version") != kVersion)
        throw std::runtime_error("of a version that is not known here");
    return {.pcie = text.at("pcie"),
            .uuid = text.at("uuid"),
            .found = text.at("found"),
            .ours = text.at("ours"),
            .time = text.at("time"),
            .boot = text.at("boot"),
            .run = text.at("run")};
}

StoredNote ReadNote(const fs::path& path) {
    StoredNote stored;
    stored.file = path;
    try {
        std::ifstream file(path);
        if (!file)
            throw std::runtime_error(std::strerror(errno));
        stored.note = FromJson(json::parse(file));
        // A copy under another name is nobody's.
        if (stored.note->pcie + kEnding != path.filename())
            throw std::runtime_error("it is of another card");
    } catch (const std::exception& fault) {
        stored.note.reset();
        stored.error = "cannot read " + path.string() + ": " + fault.what();
    }
    return stored;
}

}  // namespace

fs::path ModeFiles::File(const std::string& pcie) const {
    return folder_ / (pcie + kEnding);
}

std::string ModeFiles::Write(const ModeNote& note) const {
    if (std::string fault = MakeDurableFolder(folder_); !fault.empty())
        return fault;
    const fs::path path = File(note.pcie);
    fs::path fresh = path;
    fresh += ".new";
    constexpr int kIndent = 2;
    constexpr auto kReplace = json::error_handler_t::replace;
    const std::string text = ToJson(note).dump(kIndent, ' ', false, kReplace) + "\n";
    if (std::string fault = WriteDurably(fresh, text); !fault.empty())
        return fault;
    if (rename(fresh.c_str(), path.c_str()) != 0)
        return Failure("write", path);
    return SyncFolder(folder_);
}

std::string ModeFiles::Remove(const std::string& pcie) const {
    const fs::path path = File(pcie);
    if (unlink(path.c_str()) != 0)
        return errno == ENOENT ? "" : Failure("remove", path);
    return SyncFolder(folder_);
}

std::optional<StoredNote> ModeFiles::Read(const std::string& pcie) const {
    const fs::path path = File(pcie);
    // What cannot be looked at may be there.
    std::error_code error;
    if (!fs::exists(path, error) && !error)
        return std::nullopt;
    return ReadNote(path);
}

std::vector<StoredNote> ModeFiles::ReadAll() const {
    std::vector<StoredNote> notes;
    std::error_code error;
    for (fs::directory_iterator entry(folder_, error), end; !error && entry != end;
         entry.increment(error)) {
        if (entry->path().extension() == kEnding)
            notes.push_back(ReadNote(entry->path()));
    }
    if (error && error != std::errc::no_such_file_or_directory)
        notes.push_back(
            {folder_, std::nullopt, "cannot read " + folder_.string() + ": " + error.message()});
    return notes;
}

std::string BootId() {
    std::ifstream file("/proc/sys/kernel/random/boot_id");
    std::string id;
    std::getline(file, id);
    return id;
}

}  // namespace zelhealth
