#include "Script.h"

#include <algorithm>
#include <csignal>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>

namespace bad {

namespace {

using Texts = std::vector<std::string>;
constexpr char kOther[] = "Test 77: PASSED\n";

std::string Contents(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

Texts Instead(Texts lines, std::size_t at, const std::string& text) {
    lines[at] = text;
    return lines;
}

Texts InFront(Texts lines, std::size_t at, const std::string& text) {
    lines.insert(lines.begin() + static_cast<std::ptrdiff_t>(at), text);
    return lines;
}

// In front of the line's end.
std::string With(std::string line, const std::string& text) {
    return line.insert(line.empty() ? 0 : line.size() - 1, text);
}

// Those that stop end nobody, either, in a session without a terminal.
bool EndsNobody(int signal) {
    return signal == SIGCHLD || signal == SIGCONT || signal == SIGURG || signal == SIGWINCH ||
           signal == SIGTSTP || signal == SIGTTIN || signal == SIGTTOU;
}

const std::string kNul(1, '\0');

}  // namespace

Script ReadScript(const std::filesystem::path& file) {
    const std::string status = Contents(file.string() + ".status");
    return {file.filename(), status.empty() ? 0 : std::stoi(status), Lines(Contents(file)),
            Contents(file.string() + ".err")};
}

void WriteScript(const Script& script, const std::filesystem::path& folder) {
    std::ofstream(folder / script.name, std::ios::binary) << Text(script.lines);
    std::ofstream(folder / (script.name + ".err"), std::ios::binary) << script.err;
    std::ofstream(folder / (script.name + ".status")) << script.status;
}

Texts Lines(const std::string& text) {
    Texts lines;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = std::min(text.find('\n', begin), text.size() - 1) + 1;
        lines.push_back(text.substr(begin, end - begin));
        begin = end;
    }
    return lines;
}

std::string Text(const Texts& lines, std::size_t begin, std::size_t end) {
    std::string text;
    for (std::size_t i = begin; i < std::min(end, lines.size()); ++i)
        text += lines[i];
    return text;
}

std::string Text(const Texts& lines) {
    return Text(lines, 0, lines.size());
}

bool Act::Stalls() const {
    const Kind kind = fault->kind;
    return (kind == Kind::dies && number == SIGSTOP) || kind == Kind::hangs ||
           kind == Kind::stops || kind == Kind::ignores || kind == Kind::closes ||
           kind == Kind::floods || kind == Kind::pours;
}

bool Act::AtOnce() const {
    return fault->kind != Kind::ends && fault->kind != Kind::dies && number == 1;
}

const std::vector<Fault>& Faults() {
    static const std::vector<Fault> faults = {
        {"drops", Kind::edits,
         [](Texts lines, std::size_t at) { return Instead(std::move(lines), at, ""); }},
        {"repeats", Kind::edits,
         [](Texts lines, std::size_t at) { return InFront(lines, at, lines[at]); }},
        {"swaps", Kind::edits,
         [](Texts lines, std::size_t at) {
             std::swap(lines[at], lines[at + 1 < lines.size() ? at + 1 : 0]);
             return lines;
         }},
        {"joins", Kind::edits,
         [](Texts lines, std::size_t at) {
             lines[at].pop_back();
             return lines;
         }},
        {"halves", Kind::edits,
         [](Texts lines, std::size_t at) {
             return Instead(lines, at, lines[at].substr(lines[at].size() / 2));
         }},
        {"nul", Kind::edits,
         [](Texts lines, std::size_t at) { return Instead(lines, at, With(lines[at], kNul)); }},
        {"nul-line", Kind::edits,
         [](Texts lines, std::size_t at) { return InFront(std::move(lines), at, kNul + "\n"); }},
        {"utf8", Kind::edits,
         [](Texts lines, std::size_t at) {
             return Instead(lines, at, With(lines[at], "\xe2\x82"));
         }},
        {"return", Kind::edits,
         [](Texts lines, std::size_t at) { return Instead(lines, at, With(lines[at], "\r")); }},
        {"colours", Kind::edits,
         [](Texts lines, std::size_t at) {
             return Instead(lines, at, "\x1b]0;x\x07\x1b[2J\x1b[31m" + lines[at]);
         }},
        {"blank", Kind::edits,
         [](Texts lines, std::size_t at) { return InFront(std::move(lines), at, "\n"); }},
        {"other", Kind::edits,
         [](Texts lines, std::size_t at) { return Instead(std::move(lines), at, kOther); }},
        {"other-too", Kind::edits,
         [](Texts lines, std::size_t at) { return InFront(std::move(lines), at, kOther); }},
        {"ends", Kind::ends},
        {"dies", Kind::dies},
        {"hangs", Kind::hangs},
        {"stops", Kind::stops},
        {"ignores", Kind::ignores},
        {"closes", Kind::closes},
        {"leaves", Kind::leaves},
        {"escapes", Kind::escapes},
        {"floods", Kind::floods},
        {"pours", Kind::pours},
        {"bursts", Kind::bursts},
    };
    return faults;
}

std::string NameOf(const std::string& script, const Act& act) {
    return script + "." + act.fault->name + "." + std::to_string(act.line) + "." +
           std::to_string(act.number);
}

Act ReadAct(const std::string& name, std::string& script) {
    std::istringstream words(name);
    std::string fault;
    std::string line;
    std::string number;
    std::getline(words, script, '.');
    std::getline(words, fault, '.');
    std::getline(words, line, '.');
    std::getline(words, number, '.');
    for (const Fault& known : Faults()) {
        if (fault == known.name)
            return {&known, std::stoul(line), std::stoi(number)};
    }
    throw std::runtime_error("no fault is called \"" + fault + "\"");
}

Speech SpeechOf(const Script& script, const Act& act) {
    if (act.fault->kind == Kind::edits)
        return {Text(act.fault->edit(script.lines, act.line)), ""};
    const std::string before = Text(script.lines, 0, act.line);
    const Kind kind = act.fault->kind;
    const bool goesOn = kind == Kind::leaves || kind == Kind::escapes || kind == Kind::bursts ||
                        (kind == Kind::dies && EndsNobody(act.number));
    if (goesOn)
        return {before, Text(script.lines, act.line, script.lines.size())};
    return {before, std::nullopt};
}

}  // namespace bad
