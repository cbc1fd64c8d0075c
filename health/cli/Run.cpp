// zelhealth run: the tests of a plan, for people.
#include "cli/Run.h"

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <cstdlib>
#include <memory>

#include "cli/Asking.h"
#include "cli/Host.h"
#include "host/Print.h"
#include "readers/Colours.h"
#include "readers/Lines.h"
#include "readers/LiveView.h"
#include "readers/Report.h"

namespace zelhealth {

namespace {

bool IsTerminal(std::FILE* out) {
    const char* const kind = std::getenv("TERM");
    return isatty(fileno(out)) != 0 && kind != nullptr && std::string_view(kind) != "dumb";
}

int Run(const RunOptions& onlyTold) {
    const Configuration configuration = LoadConfiguration();
    const RunOptions options = WithDefaults(onlyTold, DefaultsFor(onlyTold, configuration.run));
    std::FILE* const out = OutputBeside(options);
    const bool colours = WantsColours(out);
    Report report;
    Lines lines(out);
    std::unique_ptr<LiveView> view;
    std::vector<RecordReader*> readers = {&report};
    if (!options.quiet && IsTerminal(out)) {
        view = std::make_unique<LiveView>(out, colours);
        readers.push_back(view.get());
    } else if (!options.quiet) {
        readers.push_back(&lines);
    }
    const int status = RunWith(
        options, configuration, readers,
        [&] {
            if (view) {
                view->Close();
            }
        },
        [&] {
            const std::string text = report.Text(SizeOf(out).columns, colours);
            const std::string space = view || options.quiet ? "" : "\n";
            Print(out, space + text);
        },
        Complain);
    return Told(out, status);
}

}  // namespace

void DeclareRun(CLI::App& app, const std::vector<std::string>& words, int& status) {
    CLI::App* const command = app.add_subcommand("run", "Test the cards of this host");
    const auto options = std::make_shared<RunOptions>();
    command
        ->add_option("--plan", options->told.plan,
                     "prolog, check, standard, thorough, or a file; without it standard")
        ->type_name("PLAN");
    AddSharedOptions(*command, *options);
    command->add_option("--repeat", options->repeat, "Do the whole plan that often")
        ->check(Count(1, 100000))
        ->type_name("N");
    command->add_flag("--quiet", options->quiet, "Print the closing report only");
    options->words = words;
    command->callback([options, &status] { status = Answer([&] { return Run(*options); }); });
}

}  // namespace zelhealth
