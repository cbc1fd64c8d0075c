#include "report/Runs.h"

#include <algorithm>
#include <functional>

#include "record/Fields.h"

namespace zelhealth {

namespace {

// A run that is older than that many others is taken for a new one.
constexpr std::size_t kMostEnded = 1UL << 20;

// Names would take ten times as much memory; of two of a million the hashes are alike once in 30 million reports.
std::uint64_t HashOf(const RunName& name) {
    const std::hash<std::string> hash;
    constexpr std::uint64_t kOdd = 0x9E3779B97F4A7C15U;
    return (hash(name.host) * kOdd) ^ hash(name.run);
}

}  // namespace

Runs::Open* Runs::Find(const std::string& host, const std::string& run) {
    const auto found = std::find_if(open_.begin(), open_.end(), [&](const Open& open) {
        return open.name.run == run && open.name.host == host;
    });
    if (found == open_.end()) {
        return nullptr;
    }
    open_.splice(open_.begin(), open_, found);
    return &open_.front();
}

void Runs::Begin(RunName name) {
    if (open_.size() >= kMostOpen) {
        End(open_.back());
        open_.pop_back();
    }
    open_.push_front({std::move(name), {}});
    for (Output* const output : outputs_) {
        open_.front().readers.push_back(output->Begin(open_.front().name));
    }
}

void Runs::End(const Open& run) {
    for (const auto& reader : run.readers) {
        reader->End();
    }
    if (ended_.size() < kMostEnded) {
        ended_.insert(HashOf(run.name));
    }
}

std::string_view Runs::Read(const Json& record) {
    const std::string& host = TextOf(record, "host");
    const std::string& run = TextOf(record, "run");
    if (Find(host, run) == nullptr) {
        if (ended_.contains(HashOf({host, run}))) {
            return "its run has ended before, or was read before; such lines are left out";
        }
        Begin({host, run});
    }
    for (const auto& reader : open_.front().readers) {
        reader->Read(record);
    }
    if (TextOf(record, "record") == "run_finished") {
        End(open_.front());
        open_.pop_front();
    }
    return "";
}

void Runs::EndAll() {
    // In the order in which they were read.
    while (!open_.empty()) {
        End(open_.back());
        open_.pop_back();
    }
}

}  // namespace zelhealth
