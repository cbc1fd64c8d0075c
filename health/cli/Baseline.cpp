// zelhealth baseline: what this host has becomes what it should have.
#include "cli/Baseline.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <filesystem>
#include <iostream>
#include <memory>

#include "cli/Host.h"
#include "host/DurableFile.h"
#include "host/Printable.h"
#include "inventory/Baseline.h"

namespace zelhealth {

namespace {

struct Options {
    bool write = false;
    bool force = false;
    bool fleet = false;
};

// What keeps the cards from being an example. A card that does not tell everything would leave its gap in the
// file, and nobody would ever notice.
std::vector<std::string> Faults(const CardList& list) {
    std::vector<std::string> faults;
    for (const CardList::Entry& card : list.cards) {
        if (card.kind != CardReply::Kind::answered) {
            faults.push_back(card.card + " does not answer: " + card.error);
            continue;
        }
        if (card.pcie.empty()) {
            faults.push_back(card.card +
                             " has no link below /sys/class/zel that tells its address");
        }
        for (const std::string& fact : UntoldFacts(card.facts)) {
            faults.push_back(card.card + " does not tell " + fact);
        }
    }
    return faults;
}

void TellModes(const CardList& list) {
    for (const CardList::Entry& card : list.cards) {
        const std::string mode = card.facts.value("mode", "");
        if (mode != "normal") {
            Complain(
                fmt::format("{} is in mode {}, which will be taken for the one that belongs there",
                            card.card, Printable(mode)));
        }
    }
}

int Write(const std::filesystem::path& file, const std::string& text, bool force) {
    if (!force && !IsAsWritten(file)) {
        Complain(file.string() + " was edited since it was written; --force writes over it");
        return kUnknown;
    }
    if (const std::string fault = ReplaceDurably(file, text); !fault.empty()) {
        Complain(fault);
        return kUnknown;
    }
    std::cout << file.string() << " is written\n";
    return kGood;
}

int RunBaseline(const Options& options) {
    if (!HasRootRights()) {
        return kUnknown;
    }
    const CardList list = ListCards(HostCards(), Interrupted());
    if (!list.enumeration.Answered()) {
        Complain("no access to any card: " + list.enumeration.error);
        return StatusOf(list.enumeration.kind);
    }
    const std::vector<std::string> faults = Faults(list);
    for (const std::string& fault : faults) {
        Complain(Printable(fault));
    }
    if (!faults.empty() && !options.force) {
        Complain("such a host is no example; --force takes it all the same");
        return kCritical;
    }
    std::vector<FoundCard> cards;
    for (const CardList::Entry& card : list.cards) {
        cards.push_back({card.pcie, card.facts});
    }
    const std::string text = options.fleet ? FleetText(cards) : InventoryText(cards);
    if (!options.fleet) {
        TellModes(list);
    }
    if (!options.write) {
        std::cout << text;
        return kGood;
    }
    const std::filesystem::path folder = Folders::FromEnvironment().configuration;
    return Write(folder / (options.fleet ? "fleet.toml" : "inventory.toml"), text, options.force);
}

}  // namespace

void DeclareBaseline(CLI::App& app, int& status) {
    CLI::App* const command =
        app.add_subcommand("baseline", "Show what this host has, as a file of what it should have");
    const auto options = std::make_shared<Options>();
    command->add_flag("--write", options->write, "Write the file: inventory.toml, or fleet.toml");
    command->add_flag("--fleet", options->fleet,
                      "What all cards of a generation have in common, for every host");
    command->add_flag("--force", options->force,
                      "Take cards that do not tell everything, and write over edits");
    command->callback([options, &status] { status = RunBaseline(*options); });
}

}  // namespace zelhealth
