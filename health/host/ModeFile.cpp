// Notes survive a loss of power.
#include "host/ModeFile.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <nlohmann/json.hpp>
#include <system_error>

#include "host/DurableFile.h"

namespace zelhealth {

namespace fs = std::filesystem;
using nlohmann::json;

namespace {

constexpr int kVersion = 1;
constexpr char kEnding[] = ".json";

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

std::string ModeFiles::CardOf(const fs::path& file) {
    return file.extension() == kEnding ? file.stem().string() : "";
}

std::string ModeFiles::Write(const ModeNote& note) const {
    constexpr int kIndent = 2;
    constexpr auto kReplace = json::error_handler_t::replace;
    return ReplaceDurably(File(note.pcie), ToJson(note).dump(kIndent, ' ', false, kReplace) + "\n");
}

std::string ModeFiles::Remove(const std::string& pcie) const {
    return RemoveDurably(File(pcie));
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
        if (!CardOf(entry->path()).empty())
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
