// What this host should have, and how what it has differs from that. From two files in the configuration
// folder: inventory.toml, the cards of this host, which `zelhealth baseline` writes; and fleet.toml, the same
// on every host, what all cards of a generation have in common.
//
//   [policy]                      # what a difference means: "fail", "warn" or "ignore"
//   flash = "fail"
//   unexpected = "ignore"         # a card more than there are here
//
//   [[card]]                      # in inventory.toml
//   pcie  = "0000:02:00.0"
//   cores = 60
//   flash = ["2.1.02.0390", "2.1.03.0391"]   # either
//
//   [generation.er1x]             # in fleet.toml
//   smc = "1.16.42"
#pragma once

#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "host/TomlFile.h"
#include "inventory/Field.h"

namespace zelhealth {

// A difference of a card, in one line, and what it means as an exit status: 1 or 2.
struct Difference {
    std::string text;
    int status = 0;
};

// A card as it was found.
struct FoundCard {
    std::string pcie;
    nlohmann::json facts;
};

class Inventory {
public:
    // Without files nothing is expected. Throws std::runtime_error with file, line and reason when there
    // is one that is wrong: what is misread would call good cards bad.
    static Inventory Load(const std::filesystem::path& folder);

    // Takes what inventory.toml says, and what fleet.toml says. Throw TomlError.
    void ReadCards(const TomlFile& text);
    void ReadFleet(const TomlFile& text);

    // Whether there is an inventory of this host.
    bool HasCards() const { return hasCards_; }

    // Addresses of cards that are not among these, each with the status that this has.
    std::map<std::string, int> Missing(const std::vector<std::string>& found) const;

    // How a card differs from what the files say of it. `all` are the cards of the host.
    std::vector<Difference> Compare(const FoundCard& card, const std::vector<FoundCard>& all) const;

    // The usage mode that belongs to a card: "normal" where nothing else is said.
    std::string ModeOf(const std::string& pcie) const;

private:
    // What is expected of a field: one of these.
    using Values = std::vector<std::string>;

    struct Expected {
        std::map<std::string, Values> fields;  // by key
        std::map<std::string, Policy> policies;
        std::string source;  // for people: "the inventory"
    };

    void CompareWith(const Expected& expected, const FoundCard& card,
                     std::vector<Difference>& differences) const;
    void CompareIdentity(const FoundCard& card, const std::vector<FoundCard>& all,
                         std::vector<Difference>& differences) const;
    std::string PlaceOf(const std::string& uuid) const;

    bool hasCards_ = false;
    std::map<std::string, Policy> policies_;       // of inventory.toml
    std::map<std::string, Expected> cards_;        // by address
    std::map<std::string, Expected> generations_;  // by name
};

}  // namespace zelhealth
