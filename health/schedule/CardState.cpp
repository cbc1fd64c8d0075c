#include "schedule/CardState.h"

#include <fmt/format.h>

namespace zelhealth {

using Kind = CardReply::Kind;

std::string CardState::Prepare() {
    if (std::string why = WhyUnreachable(); !why.empty()) {
        return why;
    }
    AskWhetherBusy();
    if (std::string why = TakeLock(); !why.empty()) {
        return why;
    }
    if (card_.held) {
        LookAgain();
    }
    if (card_.entry.kind == Kind::silent) {
        records_.AddReason("silent", "it does not answer: " + card_.entry.error, 2);
        return "the card does not answer";
    }
    LookAtFacts();
    LookAtMode();
    return "";
}

std::string CardState::WhyUnreachable() {
    const std::string& name = card_.entry.card;
    if (!card_.present) {
        records_.AddReason("missing", name + " is not there", card_.missingStatus);
        return name + " is not there";
    }
    if (!card_.wedged.empty()) {
        records_.AddReason("wedged", card_.wedged, 2);
        return card_.wedged;
    }
    return host_.inTheWay;
}

// What the library could not tell is what jobs would ask it too.
void CardState::LookAtFacts() {
    const auto& facts = card_.entry.facts;
    if (card_.entry.kind == Kind::refused) {
        records_.AddReason("refused", "it cannot be opened: " + card_.entry.error, 2);
    } else if (card_.entry.kind == Kind::setup) {
        records_.AddReason("setup", card_.entry.error, 3);
    } else if (card_.entry.kind == Kind::broken) {
        records_.AddReason("facts", "its facts cannot be read: " + card_.entry.error, 1);
    }
    for (const Difference& difference : card_.differences) {
        records_.AddReason("inventory", difference.text, difference.status);
    }
    // The tool passes any number of cores, and without a memory test any size of memory.
    const auto isNone = [&facts](const char* fact) {
        const auto found = facts.find(fact);
        return found != facts.end() && *found == 0;
    };
    if (isNone("cores")) {
        records_.AddReason("cores", "no core of it is enabled", 2);
    }
    if (isNone("memory_size")) {
        records_.AddReason("memory", "it has no memory", 2);
    }
    for (const std::string& fact : UntoldFacts(facts)) {
        records_.AddReason("facts", "it does not tell " + fact, 2);
    }
}

void CardState::AskWhetherBusy() {
    if (host_.configuration.busy.empty() || !host_.plan.Disturbs()) {
        return;
    }
    const zelhealth::Busy busy =
        AskBusy(host_.configuration.busy, card_.entry.card, card_.entry.pcie, host_.stop);
    if (busy.busy) {
        busy_ = busy.text.empty() ? "the card is in use" : "the card is in use: " + busy.text;
        records_.AddReason("busy", busy_, busy.setup ? 3 : 1);
    }
}

// A card that is in use is only looked at.
std::string CardState::TakeLock() {
    const LockKind kind =
        host_.plan.Disturbs() && busy_.empty() ? LockKind::exclusive : LockKind::shared;
    LockResult result = host_.locks.Card(card_.entry.card, kind, {}, host_.stop);
    if (!result.lock && result.error.empty()) {
        card_.held = true;
        result = host_.locks.Card(card_.entry.card, kind, host_.patience, host_.stop);
    }
    if (!result.lock) {
        records_.AddReason("locked", "it was not judged: " + result.Why(),
                           result.error.empty() ? 1 : 3);
        return result.Why();
    }
    lock_ = std::move(result.lock);
    return "";
}

// What a card told while another run had it in its hands counts for nothing.
void CardState::LookAgain() {
    if (card_.entry.kind == Kind::setup || card_.entry.kind == Kind::stopped) {
        return;
    }
    CardReply now = host_.access.Ask({"facts", card_.entry.card}, host_.stop);
    card_.entry.kind = now.kind;
    card_.entry.error = now.error;
    if (now.Answered()) {
        card_.entry.facts = std::move(now.answer);
        card_.differences = host_.compare(card_);
        modeLeft_ = card_.Mode();
    }
}

std::string CardState::WhatIsWrongWith(const std::string& mode) const {
    return mode == "normal" ? "; the inventory says that " + card_.modeThere + " belongs there"
                            : ", in which no job can use it";
}

// A card that another run has just given back is where that run found it, and may have been elsewhere when
// it was asked first.
void CardState::LookAtMode() {
    if (card_.entry.kind != Kind::answered) {
        return;
    }
    if (card_.Mode() != card_.modeThere) {
        CardReply now = host_.access.Ask({"facts", card_.entry.card}, host_.stop);
        if (now.Answered()) {
            card_.entry.facts = std::move(now.answer);
        }
        modeLeft_ = card_.Mode();
    }
    const std::string mode = card_.Mode();
    if (mode.empty()) {
        records_.AddReason("mode", "it does not tell its mode", 2);
    } else if (mode != card_.modeThere) {
        records_.AddReason("mode", "it is in mode " + mode + WhatIsWrongWith(mode), 2);
    }
}

void CardState::Leave() {
    LookAtModeLeft();
    lock_.reset();
}

// A card that has left normal mode since is of no use to jobs, whatever its tests have said.
void CardState::LookAtModeLeft() {
    if (card_.Mode() != card_.modeThere || modeLeft_ != card_.modeThere || host_.now.Requested()) {
        return;
    }
    const CardReply left = host_.access.Ask({"mode", card_.entry.card}, host_.now);
    if (!left.Answered()) {
        records_.AddReason("mode", "it does not tell its mode any more: " + left.error,
                           left.kind == Kind::setup ? 3 : 2);
        return;
    }
    modeLeft_ = left.answer.value("mode", "");
    if (modeLeft_ != card_.modeThere) {
        records_.AddReason("mode", "it has gone to mode " + modeLeft_ + WhatIsWrongWith(modeLeft_),
                           2);
    }
}

}  // namespace zelhealth
