// Takes cards to the mode that a test needs, and back to the one in which they were found: after every
// end of the run that it has a say in, and, when the run was killed or the host lost its power, by the
// next one.
//
// Whoever calls holds the card's lock alone from Enter to Leave.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "host/CardAccess.h"
#include "host/Folders.h"
#include "host/Locks.h"
#include "host/ModeFile.h"
#include "host/ModeMove.h"
#include "host/Wedged.h"

namespace zelhealth {

struct Restoration {
    enum class End {
        restored,     // it is in the mode in which it was found
        othersMode,   // it is in one that neither we nor the tool set: it stays there
        otherCard,    // another card stands at this address: it is left alone
        inUse,        // a run that lives has the card: it restores it itself
        noteStays,    // nothing is to be done, but this host does not let the note be removed
        notKnown,     // this host cannot tell: the note cannot be read, the cards cannot be asked
        notRestored,  // it could not be restored, and the note stays
    };
    End end = End::notRestored;
    std::string card;  // "zel1"; "" when no card is there
    std::string pcie;
    std::string found;  // the mode in which it was found, and should be
    std::string left;   // in which it is; "" when it did not tell
    std::string text;   // one line for people, with the card's name

    // The exit status of a command that finds it so: 2 for a card that is out of use, 3 for a host that cannot
    // tell.
    int Status() const;
};

struct EnterResult {
    bool entered = false;
    std::string found;  // "" when the card did not tell
    std::string error;  // why it was not entered, one line

    // Whose fault that is: `refused` and `silent` are the card's, `answered` nobody's.
    CardReply::Kind kind = CardReply::Kind::answered;

    // How a card that was asked to move and did not arrive was taken back.
    std::optional<Restoration> restoration;
};

class ModeKeeper {
public:
    ModeKeeper(const CardAccess& access, const Folders& folders,
               std::chrono::milliseconds arrival = kArrivalSeconds)
        : access_(access),
          files_(folders.state / "modes"),
          locks_(folders.run),
          wedged_(folders.run / "wedged"),
          arrival_(arrival) {}

    // Takes a card from normal mode to `wanted`, which is "offline" for the memory tests, or keeps it
    // where it is there already. A card in another mode is left in it. What did not succeed is undone,
    // as far as the stronger wish behind `stop` allows.
    EnterResult Enter(const std::string& card, const std::string& wanted, const Stop& stop) const;

    // Takes back a card that was entered, however the tests ended: with a stop of its own, because a run
    // that is interrupted restores its cards all the same.
    Restoration Leave(const std::string& card, const Stop& stop) const;

    // Restores what runs that are gone have left, each card under its lock.
    std::vector<Restoration> Recover(const Stop& stop) const;

    // The mode of a card is an administrator's from here on: what was to be restored is forgotten. Gives
    // what went wrong.
    std::string Forget(const std::string& pcie) const { return files_.Remove(pcie); }

private:
    Restoration Restore(const StoredNote& stored, const nlohmann::json& facts,
                        const Stop& stop) const;
    Restoration RecoverCard(const StoredNote& stored, const CardReply& list,
                            const Stop& stop) const;
    LockResult LockForRecovery(const std::string& card, const Stop& stop) const;
    std::string WhoHangsOn(const std::string& card, const Stop& stop) const;

    const CardAccess& access_;
    ModeFiles files_;
    Locks locks_;
    WedgedNotes wedged_;
    std::chrono::milliseconds arrival_;
};

}  // namespace zelhealth
