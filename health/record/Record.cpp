#include "record/Record.h"

#include <fmt/chrono.h>
#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstdlib>
#include <random>

#include "host/UtcTime.h"

namespace zelhealth {

namespace {

constexpr std::size_t kLongestLine = 400;

std::string HostName() {
    if (const char* const node = std::getenv("SLURMD_NODENAME"); node != nullptr && *node != '\0') {
        return node;
    }
    std::array<char, HOST_NAME_MAX + 1> name{};
    (void)gethostname(name.data(), name.size() - 1);
    return name.data();
}

// The time in front makes ids sort as runs came.
std::string NewRunId() {
    std::random_device random;
    const auto now = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
    return fmt::format("{:%Y%m%dT%H%M%SZ}-{:08x}", fmt::gmtime(now), random());
}

// So many bytes or a few less, so that no character is cut.
std::size_t WholeCharacters(std::string_view text, std::size_t bytes) {
    constexpr unsigned kKind = 0xC0;
    constexpr unsigned kContinues = 0x80;
    while (bytes > 0 && (static_cast<unsigned char>(text[bytes]) & kKind) == kContinues) {
        --bytes;
    }
    return bytes;
}

}  // namespace

Recorder::Recorder(std::vector<RecordReader*> readers)
    : readers_(std::move(readers)), run_(NewRunId()), host_(HostName()) {}

void Recorder::Write(const Json& fields) {
    Json record;
    record["record"] = fields.at("record");
    record["schema"] = kSchema;
    record["run"] = run_;
    record["host"] = Bounded(host_);
    const std::lock_guard lock(mutex_);
    record["time"] = UtcText(std::chrono::system_clock::now());
    record.update(fields);
    for (RecordReader* const reader : readers_) {
        reader->Read(record);
    }
}

std::string Bounded(std::string_view text, std::size_t bytes) {
    if (text.size() <= bytes) {
        return std::string(text);
    }
    return std::string(text.substr(0, WholeCharacters(text, bytes))) + "...";
}

Json BoundedLines(const std::vector<std::string>& texts, std::size_t lines) {
    Json bounded = Json::array();
    const std::size_t missing = texts.size() > lines ? texts.size() - lines : 0;
    const std::size_t first = (texts.size() - missing) / 2;
    for (std::size_t i = 0; i < texts.size(); ++i) {
        if (missing > 0 && i == first) {
            bounded.push_back(fmt::format("({} lines are left out)", missing));
            i += missing;
        }
        bounded.push_back(Bounded(texts[i], kLongestLine));
    }
    return bounded;
}

Json BoundedLines(std::string_view text, std::size_t lines) {
    std::vector<std::string> texts;
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        if (!line.empty()) {
            texts.emplace_back(line);
        }
        text.remove_prefix(std::min(line.size() + 1, text.size()));
    }
    return BoundedLines(texts, lines);
}

bool ComesFirst(std::string_view card, std::string_view other) {
    return card.size() != other.size() ? card.size() < other.size() : card < other;
}

std::string Line(const Json& record) {
    return record.dump(-1, ' ', false, Json::error_handler_t::replace);
}

}  // namespace zelhealth
