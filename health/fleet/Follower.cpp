#include "fleet/Follower.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <string_view>

#include "host/Printable.h"
#include "readers/Outcome.h"
#include "record/Fields.h"
#include "record/LineSource.h"
#include "run/Descriptor.h"

namespace zelhealth {

namespace {

constexpr std::size_t kBlock = LineSource::kLongestLine;
constexpr std::size_t kLongestFailure = 200;

// What an anybody's record says of the run, as a status.
Status StatusOf(const Json& record) {
    const std::string& kind = TextOf(record, "record");
    if (kind == "test_finished") {
        return StatusOfTest(record);
    }
    return kind == "card_finished" || kind == "run_note"
               ? StatusOfReasons(ListOf(record, "reasons"))
               : Status::ok;
}

std::string FailureOf(const Json& record) {
    if (TextOf(record, "record") == "test_finished") {
        return fmt::format("{} {}.{}: {}", TextOf(record, "card"), TextOf(record, "group"),
                           TextOf(record, "test"), TextOf(record, "reason"));
    }
    for (const Json& reason : ListOf(record, "reasons")) {
        if (StatusOfReasons(Json::array({reason})) != Status::ok) {
            return TextOf(reason, "text");
        }
    }
    return "";
}

}  // namespace

Follower::Follower(std::string folder, const std::vector<std::vector<std::string>>& steps,
                   NodeProgress::Clock::time_point now)
    : folder_(std::move(folder)), began_(steps.size()), buffer_(kBlock + LineSource::kPadding) {
    for (std::size_t step = 0; step < steps.size(); ++step) {
        for (const std::string& name : steps[step]) {
            NodeProgress& node = progress_.emplace_back();
            node.name = name;
            node.step = step;
            node.heard = now;
            node.due = now + kPatience;
        }
    }
    read_.resize(progress_.size());
}

std::vector<const NodeProgress*> Follower::Look(NodeProgress::Clock::time_point now) {
    std::vector<const NodeProgress*> ended;
    const std::size_t count = std::min(progress_.size(), kMostFiles);
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t index = next_;
        next_ = (next_ + 1) % progress_.size();
        if (!progress_[index].ended && LookAt(index, now) && progress_[index].ended) {
            ended.push_back(&progress_[index]);
        }
    }
    NoteBegun(now);
    return ended;
}

// A step waited until now; its other nodes are given as long as if it began here.
void Follower::NoteBegun(NodeProgress::Clock::time_point now) {
    for (const NodeProgress& node : progress_) {
        began_[node.step] = began_[node.step] || node.began;
    }
    for (NodeProgress& node : progress_) {
        if (!node.asked && began_[node.step]) {
            node.asked = true;
            node.heard = now;
            node.due = std::max(node.due, now + kPatience);
        }
    }
}

bool Follower::Began() const {
    return std::find(began_.begin(), began_.end(), true) != began_.end();
}

// Whether anything new stands there.
bool Follower::LookAt(std::size_t index, NodeProgress::Clock::time_point now) {
    NodeProgress& node = progress_[index];
    const std::string file = folder_ + "/" + node.name + ".jsonl";
    // Opened each time: a folder on a network shows what is new to those who open.
    const Descriptor descriptor(open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!descriptor.IsOpen()) {
        return false;
    }
    bool isNew = false;
    for (;;) {
        const ssize_t bytes = pread(descriptor.Get(), buffer_.data(), kBlock, read_[index]);
        if (bytes <= 0) {
            break;
        }
        const std::string_view block(buffer_.data(), static_cast<std::size_t>(bytes));
        std::size_t begin = 0;
        for (std::size_t end = 0; (end = block.find('\n', begin)) != std::string_view::npos;
             begin = end + 1) {
            Json record;
            if (parser_.Parse(block.substr(begin, end - begin), false, record).empty()) {
                LeaveOutUnfit(record, [](const std::string&, std::string_view) {});
                Read(node, record, now);
            }
        }
        // A line that is no record's is passed over; of another the rest is still to come.
        const bool tooLong = begin == 0 && block.size() == kBlock;
        read_[index] += static_cast<off_t>(tooLong ? block.size() : begin);
        isNew = isNew || begin > 0 || tooLong;
        if (begin == 0 && !tooLong) {
            break;
        }
    }
    if (isNew) {
        node.heard = now;
        node.due = std::max(node.due, now + kPatience);
    }
    return isNew;
}

void Follower::Read(NodeProgress& node, const Json& record, NodeProgress::Clock::time_point now) {
    node.began = true;
    const std::string& kind = TextOf(record, "record");
    if (kind == "card_started") {
        ++node.cards;
    } else if (kind == "test_started") {
        // Anybody may have written it.
        constexpr double kLongestTest = 30.0 * 24 * 3600;
        const auto seconds = std::min(NumberOf(record, "deadline_seconds"), kLongestTest);
        node.due = std::max(
            node.due, now + kPatience + std::chrono::milliseconds(std::llround(seconds * 1000)));
    } else if (kind == "test_finished") {
        ++node.tests;
    } else if (kind == "run_finished") {
        node.ended = true;
        const auto status = record.find("status");
        const Status told =
            status == record.end() ? Status::unknown : static_cast<Status>(status->get<int>());
        node.status = static_cast<int>(Worse(static_cast<Status>(node.status), told));
        return;
    }
    const Status status = StatusOf(record);
    if (status != Status::ok && node.failure.empty()) {
        node.failure = Printable(Bounded(FailureOf(record), kLongestFailure));
    }
    node.status = static_cast<int>(Worse(static_cast<Status>(node.status), status));
}

}  // namespace zelhealth
