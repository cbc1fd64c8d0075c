// zelhealth cards: which cards this host has, what each tells of itself, and who has it.
#include "cli/Cards.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <iostream>
#include <nlohmann/json.hpp>

#include "cli/Host.h"
#include "host/Locks.h"
#include "host/Printable.h"
#include "host/Tools.h"
#include "host/Wedged.h"

namespace zelhealth {

namespace {

using nlohmann::json;

// As many as a terminal of 80 columns shows; the rest is in the JSON.
constexpr std::size_t kColumns = 8;
using Row = std::array<std::string, kColumns>;

const Row kTitles = {"card",  "PCIe address", "generation", "mode",
                     "flash", "SMC",          "memory",     "cores"};

// A fact that the card did not tell is a question mark; why not is said below the table.
std::string Show(const json& facts, const char* path) {
    const json::json_pointer pointer(path);
    if (!facts.contains(pointer) || facts[pointer].is_null())
        return "?";
    const json& value = facts[pointer];
    return value.is_string() ? Printable(value.get<std::string>()) : value.dump();
}

std::string ShowMemory(const json& facts) {
    constexpr std::uint64_t kMiB = 1024UL * 1024;
    constexpr std::uint64_t kGiB = 1024UL * kMiB;
    if (!facts.contains("memory_size") || !facts["memory_size"].is_number_unsigned())
        return "?";
    const auto bytes = facts["memory_size"].get<std::uint64_t>();
    return bytes % kGiB == 0 ? fmt::format("{} GiB", bytes / kGiB)
                             : fmt::format("{} MiB", bytes / kMiB);
}

Row MakeRow(const CardList::Entry& entry) {
    const json& facts = entry.facts;
    return {entry.card,
            entry.pcie.empty() ? "?" : entry.pcie,
            Show(facts, "/generation"),
            Show(facts, "/mode"),
            Show(facts, "/firmware/flash"),
            Show(facts, "/firmware/smc"),
            ShowMemory(facts),
            Show(facts, "/cores")};
}

void PrintTable(const std::vector<Row>& rows) {
    std::array<std::size_t, kColumns> widths{};
    for (const Row& row : rows) {
        for (std::size_t i = 0; i < kColumns; ++i)
            widths[i] = std::max(widths[i], row[i].size());
    }
    for (const Row& row : rows) {
        std::string line;
        for (std::size_t i = 0; i < kColumns; ++i)
            line += fmt::format("{:{}}  ", row[i], widths[i]);
        std::cout << line.substr(0, line.find_last_not_of(' ') + 1) << '\n';
    }
}

// What a card, or some fact of it, was asked for in vain.
std::vector<std::string> Troubles(const CardList::Entry& entry) {
    if (entry.kind != CardReply::Kind::answered)
        return {fmt::format("{} does not tell anything: {}", entry.card, entry.error)};
    std::vector<std::string> troubles;
    const json errors = entry.facts.value("errors", json::object());
    for (const auto& [fact, error] : errors.items())
        troubles.push_back(fmt::format("{} does not tell {}: {}: {} ({})", entry.card, fact,
                                       error.value("call", ""), error.value("text", ""),
                                       error.value("status", 0)));
    return troubles;
}

void PrintForPeople(const CardList& list) {
    std::vector<Row> rows = {kTitles};
    for (const CardList::Entry& entry : list.cards)
        rows.push_back(MakeRow(entry));
    PrintTable(rows);
    for (const CardList::Entry& entry : list.cards) {
        for (const std::string& trouble : Troubles(entry))
            std::cout << Printable(trouble) << '\n';
    }
}

// Who has a card, or keeps others from it.
void PrintUsers(const CardList& list, const Folders& folders) {
    const Locks locks(folders.run);
    for (const CardList::Entry& entry : list.cards) {
        for (const LockHolder& holder : locks.CardHolders(entry.card))
            std::cout << entry.card << " is held by " << holder.Text() << '\n';
    }
    for (const WedgedNote& note : WedgedNotes(folders.run / "wedged").Living())
        std::cout << Printable(note.Text()) << '\n';
    for (const ToolRun& run : FindForeignTools())
        std::cout << run.Text() << " was started by somebody else\n";
}

void PrintForMachines(const CardList& list) {
    constexpr auto kReplace = json::error_handler_t::replace;
    for (const CardList::Entry& entry : list.cards) {
        json line = entry.facts;
        if (entry.kind != CardReply::Kind::answered)
            line["error"] = entry.error;
        std::cout << line.dump(-1, ' ', false, kReplace) << '\n';
    }
}

ExitStatus Judge(const CardList& list) {
    ExitStatus worst = kGood;
    for (const CardList::Entry& entry : list.cards) {
        worst = Worse(worst, StatusOf(entry.kind));
        worst = Worse(worst, UntoldFacts(entry.facts).empty() ? kGood : kCritical);
    }
    return worst;
}

int RunCards(bool machine) {
    if (!HasRootRights())
        return kUnknown;
    const CardList list = ListCards(HostCards(), Interrupted());
    if (!list.enumeration.Answered()) {
        Complain("no access to any card: " + list.enumeration.error);
        return StatusOf(list.enumeration.kind);
    }
    if (machine) {
        PrintForMachines(list);
    } else if (list.cards.empty()) {
        std::cout << "this host has no cards\n";
    } else {
        PrintForPeople(list);
        PrintUsers(list, Folders::FromEnvironment());
    }
    return Judge(list);
}

}  // namespace

void DeclareCards(CLI::App& app, int& status) {
    CLI::App* const command = app.add_subcommand("cards", "The cards of this host");
    const auto machine = std::make_shared<bool>(false);
    command->add_flag("--json", *machine, "One JSON object a card, on a line of its own");
    command->callback([machine, &status] { status = RunCards(*machine); });
}

}  // namespace zelhealth
