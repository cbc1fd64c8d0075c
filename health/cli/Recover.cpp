// zelhealth recover: takes the cards back to the mode in which they were found, where a run that was
// killed, or a host that lost its power, has left them in another.
#include "cli/Recover.h"

#include <CLI/CLI.hpp>
#include <iostream>

#include "cli/Host.h"
#include "host/ModeKeeper.h"
#include "host/Printable.h"
#include "host/Wedged.h"

namespace zelhealth {

namespace {

ExitStatus Tell(const Restoration& restoration) {
    const int status = restoration.Status();
    if (status == kGood)
        std::cout << Printable(restoration.text) << '\n';
    else
        Complain(restoration.text);
    return static_cast<ExitStatus>(status);
}

int RunRecover(unsigned int deadline) {
    if (!HasRootRights())
        return kUnknown;
    const Folders folders = Folders::FromEnvironment();
    const ZelCard access = HostCards();
    const ModeKeeper keeper(access, folders, std::chrono::seconds(deadline));
    ExitStatus status = kGood;
    const auto restorations = keeper.Recover(Interrupted());
    for (const Restoration& restoration : restorations)
        status = Worse(status, Tell(restoration));
    for (const WedgedNote& note : WedgedNotes(folders.run / "wedged").Living()) {
        Complain(note.Text());
        status = kCritical;
    }
    if (restorations.empty() && status == kGood)
        std::cout << "no card waits for its mode\n";
    return Interrupted().Requested() ? Worse(status, kUnknown) : status;
}

}  // namespace

void DeclareRecover(CLI::App& app, int& status) {
    CLI::App* const command =
        app.add_subcommand("recover", "Take cards back that a killed run has left in another mode");
    const auto deadline =
        std::make_shared<unsigned int>(static_cast<unsigned int>(kArrivalSeconds.count()));
    command->add_option("--deadline", *deadline, "How long each card may take, in seconds")
        ->capture_default_str();
    command->callback([deadline, &status] { status = RunRecover(*deadline); });
}

}  // namespace zelhealth
