// Runs zelcard and reads its one line, strictly.
#include "host/CardAccess.h"

#include <fmt/format.h>

#include "run/Child.h"
#include "run/SideBySide.h"

namespace zelhealth {

using nlohmann::json;

namespace {

constexpr int kRefusedStatus = 1;
constexpr int kNoSuchCardStatus = 2;
constexpr int kNotLoaded = 127;
constexpr std::size_t kMostAtOnce = 32;

std::string FirstLine(const std::string& text) {
    return text.substr(0, text.find('\n'));
}

// "ZelGetUUID: The card does not answer (13)", or a text without a call.
std::string Explain(const json& error) {
    std::string text = error.value("text", "no reason told");
    if (!error.contains("call"))
        return text;
    return fmt::format("{}: {} ({})", error.value("call", ""), text, error.value("status", 0));
}

CardReply Fail(CardReply::Kind kind, std::string error, pid_t wedged = 0) {
    CardReply reply;
    reply.kind = kind;
    reply.error = std::move(error);
    reply.wedged = wedged;
    return reply;
}

CardReply Broken(const std::string& program, const ChildResult& child) {
    return Fail(CardReply::Kind::broken, fmt::format("{} said what cannot be understood: {}",
                                                     program, FirstLine(child.out + child.err)));
}

CardReply Read(const std::string& program, const ChildResult& child) {
    constexpr bool kNoExceptions = false;
    json answer = json::parse(child.out, nullptr, kNoExceptions);
    if (!answer.is_object())
        return Broken(program, child);
    if (child.code == 0 && !answer.contains("error")) {
        CardReply reply;
        reply.kind = CardReply::Kind::answered;
        reply.answer = std::move(answer);
        return reply;
    }
    const bool explained = answer.contains("error") && answer["error"].is_object();
    if (child.code == kRefusedStatus && explained)
        return Fail(CardReply::Kind::refused, Explain(answer["error"]));
    if (child.code == kNoSuchCardStatus && explained)
        return Fail(CardReply::Kind::noSuchCard, Explain(answer["error"]));
    return Broken(program, child);
}

void AskCard(const CardAccess& access, CardList::Entry& entry, const Stop& stop) {
    CardReply reply = access.Ask({"facts", entry.card}, stop);
    entry.kind = reply.kind;
    entry.error = reply.error;
    entry.wedged = reply.wedged;
    if (reply.Answered())
        entry.facts = std::move(reply.answer);
}

// Side by side, so that a card that is silent holds up no other; but not a host of hundreds of cards all
// at once.
void AskAll(const CardAccess& access, std::vector<CardList::Entry>& cards, const Stop& stop) {
    SideBySide(cards.size(), kMostAtOnce,
               [&](std::size_t card) { AskCard(access, cards[card], stop); });
}

}  // namespace

CardReply ZelCard::Ask(const std::vector<std::string>& words, const Stop& stop) const {
    ChildSpec spec;
    spec.command = {program_};
    spec.command.insert(spec.command.end(), words.begin(), words.end());
    spec.deadline = deadline_;
    const ChildResult child = RunChild(spec, stop);
    const auto silence =
        fmt::format("no answer within {} s", std::chrono::duration<double>(deadline_).count());
    switch (child.end) {
        case ChildEnd::exited:
            if (child.code == kNotLoaded)
                return Fail(CardReply::Kind::setup, FirstLine(child.err));
            return Read(program_, child);
        case ChildEnd::timedOut:
            return Fail(CardReply::Kind::silent, silence);
        case ChildEnd::givenUp:
            return Fail(CardReply::Kind::silent, silence, child.pid);
        case ChildEnd::stopped:
            return Fail(CardReply::Kind::stopped, "interrupted");
        case ChildEnd::notStarted:
            return Fail(CardReply::Kind::setup, "zelcard cannot be started: " + child.error);
        case ChildEnd::signalled:
            break;
    }
    return Fail(CardReply::Kind::broken,
                fmt::format("{} was ended by signal {}", program_, child.code));
}

std::vector<std::string> UntoldFacts(const json& facts) {
    constexpr unsigned kNotSupported = 8;
    std::vector<std::string> untold;
    const json errors = facts.value("errors", json::object());
    for (const auto& [fact, error] : errors.items()) {
        if (error.value("status", 0U) != kNotSupported)
            untold.push_back(
                fmt::format("{}: {}: {}", fact, error.value("call", ""), error.value("text", "")));
    }
    return untold;
}

CardList ListCards(const CardAccess& access, const Stop& stop, const CardChoice& isWanted) {
    CardList list;
    list.enumeration = access.Ask({"facts"}, stop);
    if (!list.enumeration.Answered())
        return list;
    for (const json& identity : list.enumeration.answer.value("cards", json::array())) {
        CardList::Entry entry{.card = identity.value("card", ""),
                              .pcie = identity.value("pcie", ""),
                              .facts = identity,
                              .error = ""};
        if (!isWanted || isWanted(entry.card, entry.pcie))
            list.cards.push_back(std::move(entry));
    }
    AskAll(access, list.cards, stop);
    return list;
}

}  // namespace zelhealth
