// zelhealth: runs ZelDiag so that its verdict can be trusted, and looks after the cards around it.
#include <CLI/CLI.hpp>

#include "cli/Cards.h"
#include "cli/Host.h"
#include "cli/List.h"
#include "cli/Mode.h"
#include "cli/Recover.h"
#include "cli/Run.h"
#include "cli/Usage.h"

int main(int argc, char** argv) {
    using namespace zelhealth;
    CLI::App app("Runs ZelDiag so that its verdict can be trusted", "zelhealth");
    app.require_subcommand(1);
    int status = kGood;
    DeclareRun(app, status);
    DeclareCheck(app, status);
    DeclareList(app, status);
    DeclareCards(app, status);
    DeclareMode(app, status);
    DeclareRecover(app, status);
    DeclarePlan(app, status);
    app.failure_message(UsageError);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? kGood : kUnknown;
    }
    return status;
}
