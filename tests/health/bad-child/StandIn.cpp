// A stand-in for the tool: prints what the tool printed, and goes wrong at one line of it. Its own name says
// how (Script.h).
#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <string>
#include <string_view>

#include "Script.h"

namespace {

using bad::Kind;

constexpr std::size_t kGigabyte = std::size_t{1} << 30;

void Say(int output, std::string_view text) {
    while (!text.empty()) {
        const ssize_t bytes = write(output, text.data(), text.size());
        if (bytes <= 0)
            std::_Exit(EXIT_FAILURE);
        text.remove_prefix(static_cast<std::size_t>(bytes));
    }
}

[[noreturn]] void Hang() {
    while (true)
        pause();
}

void Pour(std::string_view piece, std::size_t bytes) {
    constexpr std::size_t kPieces = 65536;
    std::string text;
    while (text.size() < kPieces)
        text += piece;
    for (; bytes > 0; bytes -= std::min(bytes, text.size()))
        Say(STDOUT_FILENO, text);
}

void Die(int signal) {
    // A core file is nobody's business here.
    prctl(PR_SET_DUMPABLE, 0);
    std::signal(signal, SIG_DFL);
    raise(signal);
}

void LeaveHeir(bool escapes) {
    if (fork() != 0)
        return;
    if (escapes) {
        setsid();
        for (const int signal : {SIGTERM, SIGHUP, SIGINT})
            std::signal(signal, SIG_IGN);
    }
    Hang();
}

void GoWrong(const bad::Act& act) {
    switch (act.fault->kind) {
        case Kind::edits:
            break;
        case Kind::ends:
            std::_Exit(act.number);
        case Kind::dies:
            Die(act.number);
            break;
        case Kind::hangs:
            Hang();
        case Kind::stops:
            raise(SIGSTOP);
            Hang();
        case Kind::ignores:
            std::signal(SIGTERM, SIG_IGN);
            Hang();
        case Kind::closes:
            close(STDOUT_FILENO);
            close(STDERR_FILENO);
            Hang();
        case Kind::leaves:
        case Kind::escapes:
            LeaveHeir(act.fault->kind == Kind::escapes);
            break;
        case Kind::floods:
            Pour("a line\n", SIZE_MAX);
            break;
        case Kind::pours:
            Pour("x", SIZE_MAX);
            break;
        case Kind::bursts:
            Pour("x", kGigabyte);
            break;
    }
}

int Play(const std::filesystem::path& self, bool forHelp) {
    std::string name;
    const bad::Act act = bad::ReadAct(self.filename(), name);
    if (forHelp && !act.AtOnce())
        return EXIT_SUCCESS;
    const bad::Script script = bad::ReadScript(self.parent_path() / name);
    const bad::Speech speech = bad::SpeechOf(script, act);
    Say(STDERR_FILENO, script.err);
    Say(STDOUT_FILENO, speech.before);
    GoWrong(act);
    Say(STDOUT_FILENO, speech.after.value_or(""));
    return script.status;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc == 1) {
        Say(STDOUT_FILENO, "ZelDiag v1.0\n");
        return EXIT_SUCCESS;
    }
    try {
        return Play(argv[0], std::string_view(argv[1]) == "-help");
    } catch (const std::exception& error) {
        Say(STDERR_FILENO, error.what());
        return EXIT_FAILURE;
    }
}
