#include "record/Stored.h"

#include <unistd.h>

#include <fstream>
#include <stdexcept>
#include <system_error>

#include "host/Folders.h"
#include "host/OutputFile.h"
#include "host/UtcTime.h"

namespace zelhealth {

namespace fs = std::filesystem;

namespace {

// Exit statuses of runs: one that has found a bad card, and one that has no answer.
constexpr int kCritical = 2;
constexpr int kUnanswered = 3;
constexpr std::size_t kLargest = 16UL * 1024 * 1024;

// By an edit of one of its files, or by one that came or went.
bool ChangedSince(const fs::path& folder, const fs::path& file) {
    std::error_code error;
    const fs::file_time_type then = fs::last_write_time(file, error);
    const auto isNewer = [then](const fs::path& path) {
        std::error_code gone;
        const fs::file_time_type time = fs::last_write_time(path, gone);
        return !gone && time >= then;  // a clock of files ticks every few milliseconds
    };
    bool changed = isNewer(folder);
    for (fs::directory_iterator entry(folder, error), end; !error && !changed && entry != end;
         entry.increment(error)) {
        changed = isNewer(entry->path());
    }
    return changed;
}

}  // namespace

void StoredRun::Read(const Json& record) {
    if (record["record"] == "test_progress" || tooMuch_) {
        return;
    }
    lines_ += Line(record) + "\n";
    if (record["record"] == "test_finished") {
        judged_ = judged_ && record.value("verdict", "") != "not_run";
    } else if (record["record"] == "run_finished") {
        finished_ = true;
        const int status = record.value("status", kUnanswered);
        answers_ = status == kCritical || (judged_ && status != kUnanswered);
    }
    tooMuch_ = lines_.size() > kLargest;
    if (tooMuch_) {
        lines_ = {};
    }
}

std::string StoredRun::Store() const {
    if (!finished_ || !answers_) {
        return "";
    }
    std::string error =
        tooMuch_ ? file_.string() + ": the run has too many records to be kept" : Replace();
    if (!error.empty()) {
        unlink(file_.c_str());
    }
    return error;
}

std::string StoredRun::Replace() const {
    if (std::string error = MakeFolder(file_.parent_path()); !error.empty()) {
        return error;
    }
    try {
        OutputFile out(file_);
        out.Write(lines_);
        // A run that lost its end to a loss of power is not read.
        out.Commit(OutputFile::Durability::none);
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "";
}

std::vector<Json> ReadStoredRun(const fs::path& file, std::chrono::milliseconds age,
                                const fs::path& configuration) {
    if (ChangedSince(configuration, file)) {
        return {};
    }
    std::ifstream stream(file);
    std::vector<Json> records;
    for (std::string line; std::getline(stream, line) && line.size() < kLargest;) {
        records.push_back(Json::parse(line, nullptr, false));
        if (!records.back().is_object()) {
            return {};
        }
    }
    if (records.empty() || records.back().value("record", "") != "run_finished") {
        return {};
    }
    // Such times sort as text.
    const auto now = std::chrono::system_clock::now();
    const std::string ended = records.back().value("time", "");
    const bool fits = ended >= UtcText(now - age) && ended <= UtcText(now);
    return fits ? records : std::vector<Json>();
}

}  // namespace zelhealth
