// zelsim: makes a host out of a fleet file and runs a command on it. Whatever is wrong is told in one
// line on standard error.
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <span>
#include <string>
#include <vector>

#include "fleet/Fleet.h"
#include "fleet/Suggestion.h"
#include "zelsim/HostCommands.h"
#include "zelsim/RunCommand.h"
#include "zelsim/Terminal.h"

using namespace std::string_literals;
using simulated::kSeeHelp;
using simulated::Suggestion;
using Words = std::span<char* const>;

namespace {

constexpr char kFleetOption[] = "--fleet";
constexpr char kHelpOption[] = "--help";
constexpr char kVersionOption[] = "--version";

constexpr char kPurpose[] =
    "\nMakes a host with coprocessor cards out of a fleet file, and runs a command on it.\n\n";
constexpr char kExample[] =
    "\nExample:\n  zelsim run --fleet my.toml -- ZelDiag -summary -pcie -all\n";

int Fail(const std::string& text, int status) {
    simulated::Complain(text);
    return status;
}

bool IsHelp(const std::string& word) {
    return word == kHelpOption || word == "-h";
}

// The folder of this program, in which the tool and its companions lie too.
std::filesystem::path ProgramFolder() {
    return std::filesystem::read_symlink("/proc/self/exe").parent_path();
}

// What stands in front of the command that run is to run.
struct RunOptions {
    std::string fleetFile = ProgramFolder() / "fleets/default.toml";
    std::size_t words = 0;
};

// The status with which to end, or 0.
int TakeRunOptions(Words words, RunOptions& options) {
    const std::string fleetIs = kFleetOption + "="s;
    std::size_t& i = options.words;
    for (; i < words.size() && words[i][0] == '-'; ++i) {
        const std::string word = words[i];
        if (word == "--") {
            ++i;
            return 0;
        }
        if (word.starts_with(fleetIs)) {
            options.fleetFile = word.substr(fleetIs.size());
        } else if (word == kFleetOption) {
            if (++i == words.size())
                return Fail(kFleetOption + " takes a file"s, simulated::kOwnFailure);
            options.fleetFile = words[i];
        } else {
            return Fail("run has no option " + word +
                            Suggestion(word, {kFleetOption, kHelpOption}, kSeeHelp),
                        simulated::kOwnFailure);
        }
    }
    return 0;
}

int Run(Words words) {
    RunOptions options;
    if (const int status = TakeRunOptions(words, options))
        return status;
    if (options.words == words.size())
        return Fail("run takes a command"s + kSeeHelp, simulated::kOwnFailure);
    return simulated::RunOnHost(simulated::ReadFleet(options.fleetFile), ProgramFolder(),
                                words.data() + options.words);
}

int Check(Words words) {
    if (words.size() != 1)
        return Fail("check takes one file"s + kSeeHelp, simulated::kUsageFailure);
    try {
        const simulated::Fleet fleet = simulated::ReadFleet(words[0]);
        std::printf("%s: %zu card%s\n", words[0], fleet.cards.size(),
                    fleet.cards.size() == 1 ? "" : "s");
        return 0;
    } catch (const simulated::FleetError& failure) {
        return Fail(failure.what(), simulated::kCommandFailure);
    }
}

struct Command {
    const char* name;
    const char* takes;
    const char* help;  // lines, indented behind the name
    int (*run)(Words words);
};

constexpr Command kCommands[] = {
    {"run", " [--fleet FILE] [--] COMMAND [ARG...]",
     "  run     run a command on a host of its own, which vanishes with it; without --fleet the "
     "host\n"
     "          has one healthy card of each generation. Needs root rights. Exit status: the\n"
     "          command's; 125 when the host cannot be made, 126 or 127 when the command cannot "
     "run\n",
     Run},
    {"mode", " CARD MODE",
     "  mode    on such a host: move a card (0 or zel0) to another usage mode: normal, "
     "maintenance,\n"
     "          zombie, memdiag, normal_restricted, offline or in_transition\n",
     simulated::ModeCommand},
    {"status", "", "  status  on such a host: the cards, their modes, and where each is reached\n",
     simulated::StatusCommand},
    {"check", " FILE", "  check   read a fleet file and say what is wrong with it\n", Check},
};

void PrintUsage(FILE* file, std::span<const Command> commands) {
    const char* lead = "usage:";
    for (const Command& command : commands) {
        std::fprintf(file, "%s zelsim %s%s\n", lead, command.name, command.takes);
        lead = "      ";
    }
}

void PrintHelp(FILE* file) {
    PrintUsage(file, kCommands);
    std::fprintf(file, "       zelsim %s | %s\n", kHelpOption, kVersionOption);
    std::fputs(kPurpose, file);
    for (const Command& command : kCommands)
        std::fputs(command.help, file);
    std::fputs(kExample, file);
}

void PrintCommandHelp(const Command& command) {
    PrintUsage(stdout, {&command, 1});
    std::printf("\n%s", command.help);
}

int RefuseWord(const std::string& word) {
    if (word == kFleetOption || word.starts_with(kFleetOption + "="s))
        return Fail(kFleetOption + " belongs behind run: zelsim run --fleet FILE COMMAND"s,
                    simulated::kUsageFailure);
    std::vector<std::string> known = {kHelpOption, kVersionOption};
    for (const Command& command : kCommands)
        known.emplace_back(command.name);
    return Fail("no command " + word + Suggestion(word, known, kSeeHelp), simulated::kUsageFailure);
}

int Dispatch(Words words) {
    if (words.empty()) {
        PrintHelp(stderr);
        return simulated::kUsageFailure;
    }
    const std::string word = words[0];
    if (IsHelp(word)) {
        PrintHelp(stdout);
        return 0;
    }
    if (word == kVersionOption) {
        std::puts("zelsim " ZELSIM_VERSION);
        return 0;
    }
    const auto* command = std::find_if(std::begin(kCommands), std::end(kCommands),
                                       [&](const Command& row) { return word == row.name; });
    if (command == std::end(kCommands))
        return RefuseWord(word);
    if (words.size() > 1 && IsHelp(words[1])) {
        PrintCommandHelp(*command);
        return 0;
    }
    return command->run(words.subspan(1));
}

// Without memory for an exception, throwing one ends here.
[[noreturn]] void EndWithoutMemory() {
    if (std::current_exception())
        std::abort();
    constexpr char kText[] = "zelsim: cannot go on: out of memory\n";
    [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, kText, sizeof(kText) - 1);
    _exit(simulated::kOwnFailure);
}

}  // namespace

int main(int argc, char** argv) {
    std::set_terminate(EndWithoutMemory);
    try {
        const int status = Dispatch(Words(argv, static_cast<std::size_t>(argc)).subspan(1));
        if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0)
            return Fail("cannot write: "s + std::strerror(errno), simulated::kCommandFailure);
        return status;
    } catch (const std::exception& failure) {
        return Fail(failure.what(), simulated::kOwnFailure);
    }
}
