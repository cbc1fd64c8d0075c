#include "record/Stored.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>

#include "host/Folders.h"
#include "host/UtcTime.h"
#include "run/Descriptor.h"

namespace zelhealth {

namespace {

// Exit statuses of runs: one that has found a bad card, and one that has no answer.
constexpr int kCritical = 2;
constexpr int kUnanswered = 3;
constexpr std::size_t kLargest = 16UL * 1024 * 1024;

std::string Reason(const std::filesystem::path& file) {
    return file.string() + ": cannot be written: " + std::strerror(errno);
}

bool WriteAll(int file, const std::string& text) {
    for (std::size_t written = 0; written < text.size();) {
        const ssize_t bytes = write(file, text.data() + written, text.size() - written);
        if (bytes < 0 && errno != EINTR) {
            return false;
        }
        written += bytes < 0 ? 0 : static_cast<std::size_t>(bytes);
    }
    return true;
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
    std::filesystem::path fresh = file_;
    fresh += "." + std::to_string(getpid());
    const Descriptor out(open(fresh.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644));
    if (!out.IsOpen()) {
        return Reason(fresh);
    }
    if (!WriteAll(out.Get(), lines_) || rename(fresh.c_str(), file_.c_str()) != 0) {
        std::string reason = Reason(fresh);
        unlink(fresh.c_str());
        return reason;
    }
    return "";
}

std::vector<Json> ReadStoredRun(const std::filesystem::path& file, std::chrono::milliseconds age) {
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
