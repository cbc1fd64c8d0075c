// Changes modes with a note on the disk, and restores them by it.
#include "host/ModeKeeper.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>

#include "host/Tools.h"
#include "host/UtcTime.h"
#include "run/SideBySide.h"

namespace zelhealth {

using nlohmann::json;

namespace {

// In which the tool's memory tests leave a card when they are killed.
constexpr char kToolsMode[] = "memdiag";
constexpr char kNormal[] = "normal";

constexpr std::chrono::seconds kLookersPatience{20};

// What a run that was killed has started is ended by its keeper meanwhile.
constexpr int kLeftBehindTries = 50;
constexpr int kLeftBehindMilliseconds = 100;

std::string Text(const json& facts, const char* key) {
    const auto found = facts.find(key);
    return found != facts.end() && found->is_string() ? found->get<std::string>() : "";
}

// The name of the card at an address, by the enumeration; "" when there is none.
std::string CardAt(const json& enumeration, const std::string& pcie) {
    for (const json& card : enumeration.value("cards", json::array())) {
        if (Text(card, "pcie") == pcie)
            return Text(card, "card");
    }
    return "";
}

bool IsOurs(const ModeNote& note, const std::string& mode) {
    return std::find(note.ours.begin(), note.ours.end(), mode) != note.ours.end();
}

EnterResult NotEntered(std::string found, std::string error,
                       CardReply::Kind kind = CardReply::Kind::answered) {
    EnterResult result;
    result.found = std::move(found);
    result.error = std::move(error);
    result.kind = kind;
    return result;
}

}  // namespace

int Restoration::Status() const {
    switch (end) {
        case End::notRestored:
            return 2;
        case End::noteStays:
        case End::notKnown:
            return 3;
        default:
            return 0;
    }
}

EnterResult ModeKeeper::Enter(const std::string& card, const std::string& wanted,
                              const Stop& stop) const {
    const CardReply facts = access_.Ask({"facts", card}, stop);
    if (!facts.Answered())
        return NotEntered("", facts.error, facts.kind);
    const std::string pcie = Text(facts.answer, "pcie");
    const std::string found = Text(facts.answer, "mode");
    if (pcie.empty())
        return NotEntered(found,
                          fmt::format("{} has no link below /sys/class/zel, so that its mode "
                                      "could not be restored later",
                                      card));
    if (files_.Read(pcie))
        return NotEntered(found, fmt::format("an earlier run could not restore {}; see to it with: "
                                             "zelhealth recover",
                                             card));
    if (found != wanted && found != kNormal)
        return NotEntered(found, fmt::format("{} is in mode {}, from which only an administrator "
                                             "takes it",
                                             card, found));
    const ModeNote note{.pcie = pcie,
                        .uuid = Text(facts.answer, "uuid"),
                        .found = found,
                        .ours = {wanted, kToolsMode},
                        .time = UtcText(std::chrono::system_clock::now()),
                        .boot = BootId(),
                        .run = ReadProcess(getpid()).value_or(Process{}).command};
    if (std::string fault = files_.Write(note); !fault.empty())
        return NotEntered(found, fault, CardReply::Kind::setup);
    const Stop never;
    const Stop& now = stop.Stronger() != nullptr ? *stop.Stronger() : never;
    try {
        const MoveResult move = MoveCard(access_, card, wanted, arrival_, stop);
        EnterResult result = NotEntered(found, "", move.kind);
        result.entered = move.arrived;
        if (!move.arrived) {
            result.error = fmt::format("{} does not go to {}: {}", card, wanted, move.error);
            result.restoration = Leave(card, now);
        }
        return result;
    } catch (const std::exception&) {
        // Out of memory, say. Nobody else would take the card back.
        (void)Leave(card, now);
        throw;
    }
}

Restoration ModeKeeper::Leave(const std::string& card, const Stop& stop) const {
    Restoration failed{.card = card, .pcie = "", .found = "", .left = "", .text = ""};
    const CardReply facts = access_.Ask({"facts", card}, stop);
    if (!facts.Answered()) {
        failed.text = fmt::format("{} could not be asked for its mode: {}", card, facts.error);
        return failed;
    }
    const std::string pcie = Text(facts.answer, "pcie");
    if (const auto stored = files_.Read(pcie))
        return Restore(*stored, facts.answer, stop);
    failed.pcie = pcie;
    failed.text = fmt::format("{}: the note of its mode has gone", card);
    return failed;
}

Restoration ModeKeeper::Restore(const StoredNote& stored, const json& facts,
                                const Stop& stop) const {
    Restoration result{.card = Text(facts, "card"),
                       .pcie = Text(facts, "pcie"),
                       .found = "",
                       .left = Text(facts, "mode"),
                       .text = ""};
    const auto end = [&result](Restoration::End how, std::string text) {
        result.end = how;
        result.text = std::move(text);
        return std::move(result);
    };
    if (!stored.note)
        return end(Restoration::End::notRestored, stored.error);
    const ModeNote& note = *stored.note;
    // Once the note is gone nothing is thrown any more: whoever tries again would miss it.
    const auto forget = [&](Restoration::End how, std::string text) {
        std::string fault = files_.Remove(note.pcie);
        return fault.empty() ? end(how, std::move(text))
                             : end(Restoration::End::noteStays, text + "; " + fault);
    };
    result.found = note.found;
    const std::string uuid = Text(facts, "uuid");
    if (!uuid.empty() && !note.uuid.empty() && uuid != note.uuid)
        return forget(
            Restoration::End::otherCard,
            fmt::format("{}: another card stands at {} than the one that was to go back to "
                        "{}; left alone",
                        result.card, note.pcie, note.found));
    MoveResult now = AwaitRest(access_, result.card, arrival_, stop);
    if (now.arrived && now.mode != note.found && IsOurs(note, now.mode))
        now = MoveCard(access_, result.card, note.found, arrival_, stop);
    if (!now.mode.empty())
        result.left = now.mode;
    if (!now.arrived)
        return end(Restoration::End::notRestored,
                   fmt::format("{} could not be taken back to {}: {}", result.card, note.found,
                               now.error));
    if (now.mode != note.found)
        return forget(
            Restoration::End::othersMode,
            fmt::format("{} is in mode {}, which somebody else set; it was found in {} and "
                        "is left as it is",
                        result.card, now.mode, note.found));
    return forget(Restoration::End::restored,
                  fmt::format("{} is back in {}", result.card, note.found));
}

std::vector<Restoration> ModeKeeper::Recover(const Stop& stop) const {
    const std::vector<StoredNote> notes = files_.ReadAll();
    std::vector<Restoration> restorations(notes.size());
    if (notes.empty())
        return restorations;
    const CardReply list = access_.Ask({"facts"}, stop);
    // A card that does not move keeps no other waiting.
    SideBySide(notes.size(), notes.size(),
               [&](std::size_t i) { restorations[i] = RecoverCard(notes[i], list, stop); });
    return restorations;
}

// Whoever of an earlier run still is on the card could move it behind our back, or hangs in the driver and
// lets nobody else move it. What is being ended is waited for. "" when nobody is.
std::string ModeKeeper::WhoHangsOn(const std::string& card, const Stop& stop) const {
    for (int i = 0;; ++i) {
        const auto runs = FindToolRuns();
        const auto left = std::find_if(runs.begin(), runs.end(), [&](const ToolRun& run) {
            return run.kind == ToolRun::Kind::leftBehind && run.IsOn(card);
        });
        if (left == runs.end())
            break;
        if (i == kLeftBehindTries || stop.WaitFor(kLeftBehindMilliseconds))
            return left->Text() + " of an earlier run has not ended";
    }
    for (const WedgedNote& note : wedged_.Living()) {
        if (note.card == card)
            return note.Text();
    }
    return "";
}

// One who has the card alone restores it himself. Those who only look at it are done soon.
LockResult ModeKeeper::LockForRecovery(const std::string& card, const Stop& stop) const {
    LockResult lock = locks_.Card(card, LockKind::exclusive, std::chrono::seconds(0), stop);
    const bool owned =
        std::any_of(lock.holders.begin(), lock.holders.end(),
                    [](const auto& holder) { return holder.kind == LockKind::exclusive; });
    if (lock.lock || owned || !lock.error.empty())
        return lock;
    return locks_.Card(card, LockKind::exclusive, kLookersPatience, stop);
}

Restoration ModeKeeper::RecoverCard(const StoredNote& stored, const CardReply& list,
                                    const Stop& stop) const {
    Restoration result{.card = "", .pcie = "", .found = "", .left = "", .text = stored.error};
    if (!stored.note) {
        result.end = Restoration::End::notKnown;
        if (const std::string pcie = ModeFiles::CardOf(stored.file); !pcie.empty())
            result.text += fmt::format("; to put its card where it belongs: zelhealth mode {} {}",
                                       pcie, kNormal);
        return result;
    }
    result.pcie = stored.note->pcie;
    result.found = stored.note->found;
    if (!list.Answered()) {
        const bool itsOwn =
            list.kind == CardReply::Kind::refused || list.kind == CardReply::Kind::silent;
        result.end = itsOwn ? Restoration::End::notRestored : Restoration::End::notKnown;
        result.text = fmt::format("the card at {} could not be taken back to {}: {}", result.pcie,
                                  result.found, list.error);
        return result;
    }
    result.card = CardAt(list.answer, result.pcie);
    if (result.card.empty()) {
        result.text = fmt::format(
            "there is no card at {} that could be taken back to {}; once it "
            "has left this host for good, remove {}",
            result.pcie, result.found, stored.file.string());
        return result;
    }
    const LockResult lock = LockForRecovery(result.card, stop);
    if (!lock.lock) {
        const bool held = lock.error.empty();
        result.end = held ? Restoration::End::inUse : Restoration::End::notRestored;
        result.text = fmt::format("{} is left as it is: {}", result.card, lock.Why());
        return result;
    }
    const auto fail = [&result](const std::string& why) {
        result.text =
            fmt::format("{} could not be taken back to {}: {}", result.card, result.found, why);
        return result;
    };
    if (const std::string who = WhoHangsOn(result.card, stop); !who.empty())
        return fail(who);
    // The one who held the lock until now may have restored the card.
    const auto still = files_.Read(result.pcie);
    if (!still) {
        result.end = Restoration::End::restored;
        result.text = fmt::format("{} is back in {}", result.card, result.found);
        return result;
    }
    // Asked again, because it may have moved since the cards were listed.
    const CardReply facts = access_.Ask({"facts", result.card}, stop);
    if (!facts.Answered())
        return fail(facts.error);
    return Restore(*still, facts.answer, stop);
}

}  // namespace zelhealth
