// Writes and reads notes of processes that cannot be ended.
#include "host/Wedged.h"

#include <fmt/format.h>

#include <fstream>
#include <nlohmann/json.hpp>
#include <optional>
#include <system_error>

#include "host/Folders.h"
#include "host/UtcTime.h"

namespace zelhealth {

namespace fs = std::filesystem;
using nlohmann::json;

namespace {

// Null for a file that is being written, or is none of ours.
std::optional<WedgedNote> ReadNote(const fs::path& path) {
    try {
        std::ifstream file(path);
        const json text = json::parse(file);
        return WedgedNote{
            .card = text.at("card"),
            .test = text.at("test"),
            .resources = text.at("resources"),
            .since = text.at("since"),
            .process = {.pid = text.at("pid"), .startTime = text.at("start_time")},
        };
    } catch (const json::exception&) {
        return std::nullopt;
    }
}

}  // namespace

std::string WedgedNote::Text() const {
    const std::string what = test.empty() ? "" : " (" + test + ")";
    return fmt::format("{} is wedged since {}, pid {}{}", card, since, process.pid, what);
}

std::string WedgedNotes::Add(const std::string& card, const std::string& test,
                             const std::vector<std::string>& resources, pid_t pid) const {
    const auto process = ReadProcess(pid);
    if (!process || process->ended)
        return "";
    if (std::string fault = MakeFolder(folder_); !fault.empty())
        return fault;
    const json note = {{"card", card},
                       {"test", test},
                       {"resources", resources},
                       {"since", UtcText(std::chrono::system_clock::now())},
                       {"pid", pid},
                       {"start_time", process->id.startTime}};
    const fs::path path = folder_ / (std::to_string(pid) + ".json");
    std::ofstream file(path);
    file << note.dump() << '\n';
    file.close();
    return file ? "" : "cannot write " + path.string();
}

std::vector<WedgedNote> WedgedNotes::Living() const {
    std::vector<WedgedNote> living;
    std::error_code error;
    for (fs::directory_iterator entry(folder_, error), end; !error && entry != end;
         entry.increment(error)) {
        const auto note = ReadNote(entry->path());
        if (!note)
            continue;
        std::error_code ignored;
        if (IsAlive(note->process))
            living.push_back(*note);
        else
            fs::remove(entry->path(), ignored);
    }
    return living;
}

}  // namespace zelhealth
