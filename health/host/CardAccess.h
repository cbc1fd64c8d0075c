// What is asked of cards outside the tool, through zelcard: a child with a deadline, so that a card or a
// library that hangs costs time and nothing else.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <functional>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "run/Stop.h"

namespace zelhealth {

struct CardReply {
    enum class Kind {
        answered,    // `answer` is what was asked for
        refused,     // the library or the card said no: a fault of the card
        noSuchCard,  // this host has none of that name
        silent,      // no answer in time: a fault of the card
        setup,       // zelcard does not run on this host: a library that is missing, say
        broken,      // it crashed, or said what cannot be understood
        stopped,     // the stop was wished for before there was an answer
    };
    Kind kind = Kind::broken;
    nlohmann::json answer;
    std::string
        error;  // of all kinds but `answered`: one line, with the library's own text where it spoke
    pid_t wedged = 0;  // of a child that could not be ended
    bool Answered() const { return kind == Kind::answered; }
};

class CardAccess {
public:
    virtual ~CardAccess() = default;

    // Words as zelcard takes them: {"mode", "zel0"}.
    virtual CardReply Ask(const std::vector<std::string>& words, const Stop& stop) const = 0;
};

// The zelcard of a folder.
class ZelCard : public CardAccess {
public:
    ZelCard(std::string program, std::chrono::milliseconds deadline)
        : program_(std::move(program)), deadline_(deadline) {}

    CardReply Ask(const std::vector<std::string>& words, const Stop& stop) const override;

private:
    std::string program_;
    std::chrono::milliseconds deadline_;
};

// So long a card may take to answer everything that zelcard asks. Cards answer within milliseconds.
constexpr std::chrono::seconds kCardAnswerSeconds{10};

struct CardList {
    // A card's facts, or what the enumeration tells of it where the card itself did not answer. In the
    // order of the enumeration.
    struct Entry {
        std::string card;
        std::string pcie;
        nlohmann::json facts;
        CardReply::Kind kind = CardReply::Kind::answered;
        std::string error;
        pid_t wedged = 0;
    };
    CardReply enumeration;
    std::vector<Entry> cards;
};

// What a card does not tell although cards of its kind do: "cores: ZelGetNumCores: The card does not answer".
std::vector<std::string> UntoldFacts(const nlohmann::json& facts);

// Whether a card of that name and PCIe address is asked.
using CardChoice = std::function<bool(const std::string& card, const std::string& pcie)>;

// Enumerates the cards and asks all of them at once.
CardList ListCards(const CardAccess& access, const Stop& stop, const CardChoice& isWanted = {});

}  // namespace zelhealth
