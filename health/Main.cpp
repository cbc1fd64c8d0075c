// zelhealth: runs ZelDiag so that its verdict can be trusted, and looks after the cards around it.
#include <fcntl.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <exception>

#include "cli/Baseline.h"
#include "cli/Cards.h"
#include "cli/Check.h"
#include "cli/Config.h"
#include "cli/Explain.h"
#include "cli/Fleet.h"
#include "cli/History.h"
#include "cli/Host.h"
#include "cli/List.h"
#include "cli/Mode.h"
#include "cli/Recover.h"
#include "cli/Report.h"
#include "cli/Run.h"
#include "cli/Usage.h"
#include "run/Reserve.h"

namespace zelhealth {

namespace {

// In front of what libraries make before the main function begins.
[[gnu::init_priority(101)]] const Reserve reserve;

// A standard stream that is closed leaves its number to the next file that is opened: a report would go
// into the stream of records, or a complaint into the note of a card's mode. What is opened for reading
// keeps the number, and still refuses to be written.
void KeepStandardStreams() {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(stream, F_GETFD) < 0) {
            // Kept open until the program ends.
            [[maybe_unused]] const int held = open("/dev/null", O_RDONLY);
        }
    }
}

int Answer(int argc, char** argv) {
    KeepStandardStreams();
    CLI::App app("Runs ZelDiag so that its verdict can be trusted", "zelhealth");
    app.require_subcommand(1);
    DeclareVersion(app);
    std::vector<std::string> words(argv, argv + argc);
    int status = kGood;
    DeclareRun(app, words, status);
    DeclareCheck(app, words, status);
    DeclareList(app, status);
    DeclareExplain(app, words, status);
    DeclareCards(app, status);
    DeclareBaseline(app, status);
    DeclareConfig(app, status);
    DeclareMode(app, status);
    DeclareRecover(app, status);
    DeclareReport(app, status);
    DeclareHistory(app, status);
    DeclareFleet(app, status);
    DeclarePlan(app, status);
    app.failure_message(UsageError);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? WithOutput(kGood) : kUnknown;
    }
    return WithOutput(static_cast<ExitStatus>(status));
}

}  // namespace

}  // namespace zelhealth

int main(int argc, char** argv) {
    try {
        return zelhealth::Answer(argc, argv);
    } catch (const std::exception& failure) {
        zelhealth::Complain(failure.what());
        return zelhealth::kUnknown;
    }
}
