// Asks a card to move, and looks until it has.
#include "host/ModeMove.h"

#include <fmt/format.h>

namespace zelhealth {

namespace {

using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

constexpr int kLookMilliseconds = 200;
constexpr char kTransition[] = "in_transition";

MoveResult Failed(const CardReply& reply) {
    return {.arrived = false, .mode = "", .error = reply.error, .kind = reply.kind};
}

MoveResult Look(const CardAccess& access, const std::string& card, const Stop& stop) {
    const CardReply reply = access.Ask({"mode", card}, stop);
    if (!reply.Answered())
        return Failed(reply);
    return {.arrived = true, .mode = reply.answer.value("mode", ""), .error = ""};
}

// A card that has been told to move may show its old mode for a while.
bool IsOnItsWay(const std::string& mode, const std::string& from) {
    return mode == kTransition || mode == from;
}

MoveResult AwaitMode(const CardAccess& access, const std::string& card, const std::string& from,
                     const std::string& to, Clock::time_point end, const Stop& stop) {
    while (true) {
        MoveResult now = Look(access, card, stop);
        if (!now.arrived || now.mode == to)
            return now;
        now.arrived = false;
        if (!IsOnItsWay(now.mode, from))
            now.error = fmt::format("it went to {} instead of {}", now.mode, to);
        else if (Clock::now() >= end)
            now.error = fmt::format("it has not arrived in {}, it is {}", to, now.mode);
        else if (stop.WaitFor(kLookMilliseconds))
            now.error = fmt::format("interrupted on the way to {}", to);
        else
            continue;
        return now;
    }
}

std::string NextStep(const std::string& from, const std::string& to) {
    const bool direct =
        !(from == "normal" && to == "memdiag") && !(from == "memdiag" && to == "normal");
    return direct ? to : "offline";
}

MoveResult AwaitRestUntil(const CardAccess& access, const std::string& card, Clock::time_point end,
                          const Stop& stop) {
    while (true) {
        MoveResult now = Look(access, card, stop);
        if (!now.arrived || now.mode != kTransition)
            return now;
        if (Clock::now() < end && !stop.WaitFor(kLookMilliseconds))
            continue;
        now.arrived = false;
        now.error = "it is still in transition";
        return now;
    }
}

}  // namespace

MoveResult AwaitRest(const CardAccess& access, const std::string& card, milliseconds deadline,
                     const Stop& stop) {
    return AwaitRestUntil(access, card, Clock::now() + deadline, stop);
}

MoveResult MoveCard(const CardAccess& access, const std::string& card, const std::string& mode,
                    milliseconds deadline, const Stop& stop) {
    const auto end = Clock::now() + deadline;
    MoveResult now = AwaitRestUntil(access, card, end, stop);
    while (now.arrived && now.mode != mode) {
        const std::string next = NextStep(now.mode, mode);
        const CardReply reply = access.Ask({"set-mode", card, next}, stop);
        if (!reply.Answered()) {
            MoveResult failed = Failed(reply);
            failed.mode = now.mode;
            return failed;
        }
        now = AwaitMode(access, card, now.mode, next, end, stop);
    }
    return now;
}

}  // namespace zelhealth
