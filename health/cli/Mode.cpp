// zelhealth mode CARD MODE: an administrator takes a card to another usage mode, and waits until it is
// there.
#include "cli/Mode.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <iostream>

#include "cli/Host.h"
#include "host/Busy.h"
#include "host/Configuration.h"
#include "host/Locks.h"
#include "host/ModeFile.h"
#include "host/ModeMove.h"
#include "host/Tools.h"

namespace zelhealth {

namespace {

using std::chrono::seconds;

constexpr char kNormal[] = "normal";

struct Options {
    std::string card;
    std::string mode;
    unsigned int deadline = static_cast<unsigned int>(kArrivalSeconds.count());
    unsigned int wait = 0;
    bool force = false;
};

struct Subject {
    std::string card;
    std::string pcie;
    std::string mode;
};

// Whether somebody would lose the card. Says who.
bool IsUsed(const Subject& subject, const Options& options, const Folders& folders) {
    if (options.force || subject.mode != kNormal)
        return false;
    const auto tools = FindForeignTools();
    if (!tools.empty()) {
        Complain(fmt::format("{}, which somebody else started, may be testing {}",
                             tools.front().Text(), subject.card));
        return true;
    }
    const Configuration configuration =
        Configuration::Load(folders.configuration / "zelhealth.toml");
    const Busy busy = AskBusy(configuration.busy, subject.card, subject.pcie, Interrupted());
    if (busy.busy)
        Complain(fmt::format("{}: {}; with --force it is taken away all the same", subject.card,
                             busy.text));
    return busy.busy;
}

// The card's mode is the administrator's from here on. What an earlier run was to restore is over.
int ForgetNote(const Subject& subject, const Folders& folders) {
    const ModeFiles files(folders.state / "modes");
    if (!files.Read(subject.pcie))
        return kGood;
    const std::string fault = files.Remove(subject.pcie);
    if (!fault.empty()) {
        Complain(fault);
        return kUnknown;
    }
    std::cout << subject.card << ": an earlier run's mode is not restored any more\n";
    return kGood;
}

int Move(const CardAccess& access, const Subject& subject, const Options& options,
         const Folders& folders) {
    const MoveResult move =
        MoveCard(access, subject.card, options.mode, seconds(options.deadline), Interrupted());
    if (!move.arrived) {
        Complain(fmt::format("{} is not in {}: {}", subject.card, options.mode, move.error));
        if (Interrupted().Requested())
            return kUnknown;
        return move.kind == CardReply::Kind::answered ? kCritical : StatusOf(move.kind);
    }
    const bool moved = subject.mode != options.mode;
    std::cout << subject.card << " is in " << options.mode
              << (moved ? " mode\n" : " mode already\n");
    return ForgetNote(subject, folders);
}

int RunMode(const Options& options) {
    if (!HasRootRights())
        return kUnknown;
    const ZelCard access = HostCards();
    const CardReply now = access.Ask({"mode", options.card}, Interrupted());
    if (!now.Answered()) {
        const bool itsOwn = now.kind != CardReply::Kind::noSuchCard;
        Complain((itsOwn ? options.card + ": " : "") + now.error);
        return StatusOf(now.kind);
    }
    const Subject subject{.card = now.answer.value("card", ""),
                          .pcie = now.answer.value("pcie", ""),
                          .mode = now.answer.value("mode", "")};
    const Folders folders = Folders::FromEnvironment();
    const LockResult lock =
        Locks(folders.run)
            .Card(subject.card, LockKind::exclusive, seconds(options.wait), Interrupted());
    if (!lock.lock) {
        Complain(fmt::format("{} is {}", subject.card, lock.Why()));
        return kUnknown;
    }
    try {
        if (IsUsed(subject, options, folders))
            return kUnknown;
    } catch (const std::runtime_error& fault) {
        Complain(fault.what());
        return kUnknown;
    }
    return Move(access, subject, options, folders);
}

}  // namespace

void DeclareMode(CLI::App& app, int& status) {
    CLI::App* const command =
        app.add_subcommand("mode", "Take a card to a usage mode, and wait until it is there");
    const auto options = std::make_shared<Options>();
    command->add_option("CARD", options->card, "zel1, 1 or 0000:03:00.0")->required();
    command->add_option("MODE", options->mode, "The mode")
        ->required()
        ->check(CLI::IsMember({"normal", "offline", "memdiag", "maintenance"}));
    command->add_option("--deadline", options->deadline, "How long it may take, in seconds")
        ->capture_default_str();
    command->add_option("--wait", options->wait, "How long a run that has the card is waited for")
        ->capture_default_str();
    command->add_flag("--force", options->force, "Take a card away that is in use");
    command->callback([options, &status] { status = RunMode(*options); });
}

}  // namespace zelhealth
