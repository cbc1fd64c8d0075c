// zelhealth explain: what a test, a message, a verdict or an exit status means, and what to do next.
#include "cli/Explain.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>

#include "cli/Host.h"
#include "explain/Explanation.h"
#include "host/Print.h"
#include "host/Printable.h"
#include "readers/Colours.h"
#include "readers/LiveView.h"
#include "readers/Wrap.h"

namespace zelhealth {

namespace {

constexpr char kName[] = "explain";
constexpr char kForMachines[] = "--json";

// All that was typed behind the command: what begins with "-", as the tool's options do, is asked for too.
std::string Asked(const std::vector<std::string>& words) {
    const auto command = std::find(words.begin(), words.end(), kName);
    std::string asked;
    bool options = true;
    std::for_each(command == words.end() ? command : command + 1, words.end(),
                  [&asked, &options](const std::string& word) {
                      const bool isMark = options && word == "--";
                      const bool isOption = options && word == kForMachines;
                      options = options && !isMark;
                      if (!isMark && !isOption) {
                          asked += (asked.empty() ? "" : " ") + word;
                      }
                  });
    return asked;
}

void PrintForPeople(const std::string& asked, const Answer& answer) {
    const std::size_t columns = SizeOf(stdout).columns;
    const bool colours = WantsColours(stdout);
    std::string text;
    if (!answer.exact) {
        const std::string shown = Printable(Bounded(asked, 200));
        text = Wrap(fmt::format("\"{}\" is not known word for word; did you mean:", shown), columns,
                    0) +
               "\n\n";
    }
    for (const Found& found : answer.found) {
        text += &found == &answer.found.front() ? "" : "\n";
        text += TextOf(Explain(found), columns, colours);
    }
    if (answer.more > 0) {
        text += fmt::format("\n{} more {} as near: say more of it\n", answer.more,
                            answer.more == 1 ? "is" : "are");
    }
    Print(stdout, text);
}

void PrintForMachines(const Answer& answer) {
    for (const Found& found : answer.found) {
        Json json = JsonOf(Explain(found));
        json["exact"] = answer.exact;
        Print(stdout, Line(json) + "\n");
    }
}

int RunExplain(const std::string& asked, bool machine) {
    if (asked.empty()) {
        Complain(
            "explain wants a test, a message, a verdict or an exit status; zelhealth explain "
            "--help tells");
        return kUnknown;
    }
    const Answer answer = LookUp(asked);
    if (answer.found.empty()) {
        Complain(fmt::format("nothing is known of \"{}\", nor of anything near it",
                             Bounded(asked, 200)));
        return kUnknown;
    }
    if (machine) {
        PrintForMachines(answer);
    } else {
        PrintForPeople(asked, answer);
    }
    return kGood;
}

}  // namespace

void DeclareExplain(CLI::App& app, const std::vector<std::string>& words, int& status) {
    CLI::App* const command =
        app.add_subcommand(kName, "Say what something means, and what to do next");
    const auto machine = std::make_shared<bool>(false);
    // A short -h would take the test -hwr.
    command->set_help_flag("--help", "Print this help message and exit");
    // For the help alone: the words count in the order in which they were typed.
    const auto what = std::make_shared<std::vector<std::string>>();
    command->add_option("WHAT", *what,
                        "A test, a message as it was printed, a verdict, or an exit status");
    command->allow_extras();
    command->add_flag(kForMachines, *machine, "One JSON object a meaning, on a line of its own");
    command->callback(
        [machine, what, words, &status] { status = RunExplain(Asked(words), *machine); });
}

}  // namespace zelhealth
