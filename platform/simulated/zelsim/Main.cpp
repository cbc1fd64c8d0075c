// zelsim: makes a host out of a fleet file and runs a command on it. Whatever is wrong is told in one
// line on standard error.
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <filesystem>
#include <string>
#include <vector>

#include "../Fleet.h"
#include "../HostState.h"
#include "../Suggestion.h"
#include "Host.h"
#include "RunCommand.h"
#include "SecureShell.h"

using namespace std::string_literals;
using simulated::CardState;
using simulated::Fleet;
using simulated::HostState;

namespace {

constexpr int kUsageStatus = 1;
constexpr int kFailed = 1;

constexpr char kHelp[] =
    "usage: zelsim run [--fleet FILE] [--] COMMAND [ARG...]\n"
    "       zelsim mode CARD MODE\n"
    "       zelsim status\n"
    "       zelsim check FILE\n"
    "\n"
    "Makes a host with coprocessor cards out of a fleet file, and runs a command on it.\n"
    "\n"
    "  run     run a command on a host of its own, which vanishes with it; without --fleet the "
    "host\n"
    "          has one healthy card of each generation. Needs root rights. Exit status: the\n"
    "          command's; 125 when the host cannot be made, 126 or 127 when the command cannot "
    "run\n"
    "  mode    on such a host: move a card (0 or zel0) to another usage mode: normal, "
    "maintenance,\n"
    "          zombie, memdiag, normal_restricted, offline or in_transition\n"
    "  status  on such a host: the cards, their modes, and where each is reached\n"
    "  check   read a fleet file and say what is wrong with it\n"
    "\n"
    "Example:\n"
    "  zelsim run --fleet my.toml -- ZelDiag -summary -pcie -all\n";

int Complain(const std::string& text, int status) {
    std::fprintf(stderr, "zelsim: %s\n", text.c_str());
    return status;
}

// The folder of this program, in which the tool and its companions lie too.
std::filesystem::path ProgramFolder() {
    return std::filesystem::read_symlink("/proc/self/exe").parent_path();
}

int Run(int argc, char** argv) {
    std::string fleetFile = ProgramFolder() / "fleets/default.toml";
    int i = 0;
    if (i < argc && std::strcmp(argv[i], "--fleet") == 0) {
        if (i + 1 == argc)
            return Complain("--fleet takes a file", simulated::kOwnFailure);
        fleetFile = argv[i + 1];
        i += 2;
    }
    if (i < argc && std::strcmp(argv[i], "--") == 0)
        ++i;
    else if (i < argc && argv[i][0] == '-')
        return Complain(
            "run has no option "s + argv[i] + simulated::Suggestion(argv[i], {"--fleet"}),
            simulated::kOwnFailure);
    if (i == argc)
        return Complain("run takes a command; see zelsim --help", simulated::kOwnFailure);
    return simulated::RunOnHost(simulated::ReadFleet(fleetFile), ProgramFolder(), argv + i);
}

int Check(int argc, char** argv) {
    if (argc != 1)
        return Complain("check takes one file", kUsageStatus);
    try {
        const Fleet fleet = simulated::ReadFleet(argv[0]);
        std::printf("%s: %zu card%s\n", argv[0], fleet.cards.size(),
                    fleet.cards.size() == 1 ? "" : "s");
        return 0;
    } catch (const simulated::FleetError& failure) {
        return Complain(failure.what(), kFailed);
    }
}

const char* ModeNameOf(U32 mode) {
    for (const simulated::ModeName& row : simulated::kModeNames) {
        if (row.mode == mode)
            return row.name;
    }
    return "unknown";
}

std::unique_ptr<HostState> OpenHost() {
    auto host = HostState::Open();
    if (!host)
        Complain("this is no simulated host; start one with zelsim run", kFailed);
    return host;
}

// The card that "zel3" or "3" names; null when there is none.
CardState* FindCard(const HostState& host, const std::string& text) {
    const std::string digits = text.starts_with("zel") ? text.substr(3) : text;
    for (std::size_t i = 0; i < host.Cards().size(); ++i) {
        if (digits == std::to_string(i))
            return &host.Cards()[i];
    }
    return nullptr;
}

int Mode(int argc, char** argv) {
    if (argc != 2)
        return Complain("mode takes a card and a usage mode", kUsageStatus);
    const auto host = OpenHost();
    if (!host)
        return kFailed;
    CardState* card = FindCard(*host, argv[0]);
    if (card == nullptr)
        return Complain("this host has no card "s + argv[0], kFailed);
    std::vector<std::string> names;
    for (const simulated::ModeName& row : simulated::kModeNames) {
        if (std::strcmp(argv[1], row.name) == 0) {
            HostState::SetUsageMode(*card, row.mode);
            return 0;
        }
        names.emplace_back(row.name);
    }
    return Complain("a card has no usage mode "s + argv[1] + simulated::Suggestion(argv[1], names),
                    kFailed);
}

int Status(int argc, char**) {
    if (argc != 0)
        return Complain("status takes nothing", kUsageStatus);
    const auto host = OpenHost();
    if (!host)
        return kFailed;
    const char* const row = "%-8s%-12s%-16s%-19s%s\n";
    std::printf(row, "card", "generation", "PCIe address", "usage mode", "reached at");
    for (std::size_t i = 0; i < host->Cards().size(); ++i) {
        const CardState& card = host->Cards()[i];
        std::printf(row, ("zel" + std::to_string(i)).c_str(),
                    simulated::GenerationName(card.generation), ToText(card.pcie).c_str(),
                    ModeNameOf(card.usageMode),
                    IsReachable(card) ? simulated::CardAddressText(i).c_str() : "-");
    }
    return 0;
}

struct Command {
    const char* name;
    int (*run)(int argc, char** argv);
};
constexpr Command kCommands[] = {
    {"run", Run}, {"mode", Mode}, {"status", Status}, {"check", Check}};

bool IsHelp(const std::string& word) {
    return word == "--help" || word == "-h";
}

int Dispatch(int argc, char** argv) {
    if (argc < 2) {
        std::fputs(kHelp, stderr);
        return kUsageStatus;
    }
    const std::string word = argv[1];
    if (IsHelp(word) || (argc > 2 && IsHelp(argv[2]))) {
        std::fputs(kHelp, stdout);
        return 0;
    }
    if (word == "--version") {
        std::puts("zelsim " ZELSIM_VERSION);
        return 0;
    }
    std::vector<std::string> names;
    for (const Command& command : kCommands) {
        if (word == command.name)
            return command.run(argc - 2, argv + 2);
        names.emplace_back(command.name);
    }
    return Complain(
        "no command " + word + simulated::Suggestion(word, names) + "; see zelsim --help",
        kUsageStatus);
}

}  // namespace

int main(int argc, char** argv) {
    try {
        const int status = Dispatch(argc, argv);
        if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0)
            return Complain("cannot write: "s + std::strerror(errno), kFailed);
        return status;
    } catch (const std::exception& failure) {
        return Complain(failure.what(), simulated::kOwnFailure);
    }
}
