// Looks, before a test, whether this host has what the test needs of it. What is missing would look like
// a broken card in the test, and is no fault of the card's: it is told as such, with the command that
// mends it. A card that refuses a login, or does not answer one, is at fault itself.
//
// What a test needs is said in words:
//
//   libraries               the tool starts, with its libraries and its settings
//   settings                Settings.ini is there; settings:SECTION.KEY, it has values for this key
//   ssh, scp                the programs by which the tool reaches a card
//   card_programs           those that it sends to a card; card_programs:NAME, this one
//   host_key                the card is known to ssh, and lets root in without asking anything
//   memdiag_image           what the card runs in memory-diagnostic mode
#pragma once

#include <filesystem>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "run/Stop.h"

namespace zelhealth {

struct PreflightFault {
    enum class Kind {
        setup,    // this host's
        card,     // the card's, which is in normal mode and refuses or is silent
        stopped,  // nobody's: the stop was wished for
    };
    Kind kind = Kind::setup;
    std::string text;  // one line
    std::string
        mend;  // a command, or what to do where no command does it; "" for a fault of the card
    bool operator==(const PreflightFault&) const = default;
};

struct PreflightCard {
    std::string card;        // "zel1"
    std::string generation;  // "er1x", "ev1x" or "unknown"
    std::string mode;  // a card that is not in normal mode takes no login, and is not asked for one
};

// Where things stand on this host.
struct PreflightPlaces {
    std::filesystem::path tool;
    std::filesystem::path ssh = "/usr/bin/ssh";
    std::filesystem::path scp = "/usr/bin/scp";
    std::filesystem::path currentImage = "/usr/share/hosk/boot/memdiag-kernel.emberridge.elf";
    std::filesystem::path olderImage = "/usr/share/flash/MFG/md_handler_ev1x.elf";
};

class Preflight {
public:
    explicit Preflight(PreflightPlaces places);

    // The first thing that is missing; null when nothing is. What was found once is remembered: a login
    // that worked, and what the host has. From any thread.
    std::optional<PreflightFault> Check(const PreflightCard& card,
                                        const std::vector<std::string>& needs, const Stop& stop);

    // Whether a word is one of those above.
    static bool IsNeed(std::string_view need);

    // Whether Settings.ini still lists the identities with which it is delivered, which are those of no
    // real card.
    bool IdentitiesAreProvisional() const;

private:
    using Fault = std::optional<PreflightFault>;

    Fault CheckNeed(const PreflightCard& card, const std::string& need, const Stop& stop);
    Fault CheckTool(const Stop& stop) const;
    Fault CheckSettings(std::string_view key) const;
    Fault CheckClient(const std::filesystem::path& program) const;
    Fault CheckPrograms(const std::string& generation, std::string_view name) const;
    Fault CheckLogin(const std::string& card, const Stop& stop) const;
    Fault CheckImage(const std::string& generation) const;

    PreflightPlaces places_;
    std::filesystem::path folder_;  // of the tool, links resolved: where it looks for what it needs
    std::mutex mutex_;
    std::map<std::string, Fault> known_;
};

}  // namespace zelhealth
