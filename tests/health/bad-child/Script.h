// What the tool really printed in one run, for a stand-in to say again with one thing going wrong in it.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace bad {

struct Script {
    std::string name;
    int status = 0;
    std::vector<std::string> lines;  // with their line ends
    std::string err;
};

// A folder holds a script as three files: NAME, NAME.err and NAME.status.
Script ReadScript(const std::filesystem::path& file);
void WriteScript(const Script& script, const std::filesystem::path& folder);

std::vector<std::string> Lines(const std::string& text);
std::string Text(const std::vector<std::string>& lines, std::size_t begin, std::size_t end);
std::string Text(const std::vector<std::string>& lines);

// How a stand-in goes wrong.
enum class Kind {
    edits,    // prints something else, and ends as the tool did
    ends,     // with a status, before the line
    dies,     // by a signal, before the line
    hangs,    // before the line; what follows is said by nobody
    stops,    // as by SIGSTOP
    ignores,  // SIGTERM, and hangs
    closes,   // its outputs, and lives on
    leaves,   // a process that holds the pipes, in the same session
    escapes,  // the same, in a session of its own and deaf to signals
    floods,   // lines without end
    pours,    // one line without end
    bursts,   // 1 GiB, and goes on where it was
};

struct Fault {
    const char* name;
    Kind kind;
    // Of those that edit: what is printed instead.
    std::vector<std::string> (*edit)(std::vector<std::string> lines, std::size_t line) = nullptr;
};

const std::vector<Fault>& Faults();

// One thing that goes wrong: the fault, in front of which line, and with what status or signal. Its name is
// that of the stand-in's program: "FOLDER/SCRIPT.FAULT.LINE.NUMBER".
struct Act {
    const Fault* fault = nullptr;
    std::size_t line = 0;
    int number = 0;

    // Nothing but somebody else ends it.
    bool Stalls() const;

    // Already when it is asked for help, of those that have no status or signal.
    bool AtOnce() const;
};
std::string NameOf(const std::string& script, const Act& act);
Act ReadAct(const std::string& name, std::string& script);

// What is said in front of the fault and behind it; without the second when the fault is the last thing.
struct Speech {
    std::string before;
    std::optional<std::string> after;
};
Speech SpeechOf(const Script& script, const Act& act);

}  // namespace bad
