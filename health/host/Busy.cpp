// Runs the operator's command.
#include "host/Busy.h"

#include <fmt/format.h>

#include <chrono>

#include "run/Child.h"

namespace zelhealth {

namespace {

constexpr std::chrono::seconds kDeadline{10};
constexpr int kInUse = 0;
constexpr int kFree = 1;

std::string FirstLine(const std::string& text) {
    return text.substr(0, text.find('\n'));
}

Busy Unknown(const ChildResult& child) {
    std::string why = child.error;
    if (child.end == ChildEnd::exited)
        why = fmt::format("it ends with {}: {}", child.code, FirstLine(child.err));
    else if (child.end == ChildEnd::signalled)
        why = fmt::format("signal {} ended it", child.code);
    else if (child.end != ChildEnd::notStarted)
        why = fmt::format("no answer within {} s", kDeadline.count());
    return {.busy = true, .text = "the busy command gives no answer: " + why, .setup = true};
}

}  // namespace

Busy AskBusy(const std::string& command, const std::string& card, const std::string& pcie,
             const Stop& stop) {
    if (command.empty())
        return {};
    ChildSpec spec;
    spec.command = {"/bin/sh", "-c", command, "busy", card, pcie};
    spec.deadline = kDeadline;
    const ChildResult child = RunChild(spec, stop);
    if (child.end != ChildEnd::exited || (child.code != kInUse && child.code != kFree))
        return Unknown(child);
    if (child.code == kFree)
        return {};
    const std::string by = FirstLine(child.out);
    return {.busy = true, .text = by.empty() ? "in use" : "in use: " + by, .setup = false};
}

}  // namespace zelhealth
