// Fills the words of the tool's tests into a file for a shell, as it is built: they are written nowhere
// but in the tests' rows.
//
//     zel_fill TEMPLATE RESULT
//
// In the template, "@words GROUP@" stands for the names of a group's tests, and "@offers GROUP@" for lines
// with the names of a test and what zsh says beside them; all else stays as it is. Neither a template
// that cannot be filled nor a result that cannot be written leaves a result.
#include <cstdio>
#include <exception>
#include <fstream>
#include <regex>
#include <stdexcept>
#include <string>
#include <utility>

#include "TestEngine/TestGroups.h"
#include "TestEngine/te_main_frontend.h"

namespace {

constexpr std::size_t kColumns = 100;
constexpr std::size_t kIndent = 4;

const ifstGroupFrontEnd& GroupOf(const std::string& name) {
    for (const ifstTstGroup& group : ifstTstGrps) {
        if (group.shortNm == name)
            return *group.frontEnd;
    }
    throw std::runtime_error("no test group has the name " + name);
}

// The shorter one first.
std::string Names(const ifstTstCb& test, const char* between) {
    std::string first = test.shortNm;
    std::string second = test.longNm;
    if (second.size() < first.size())
        std::swap(first, second);
    return first.append(between).append(second);
}

// Behind `front`. Where a line ends the next one begins a step further in; a test's names stay together.
std::string Words(const std::string& front, const ifstGroupFrontEnd& group) {
    const std::string indent(front.find_first_not_of(' ') + kIndent, ' ');
    std::string text;
    std::string line = front;
    for (const ifstTstCb& test : group.Tests()) {
        const std::string names = Names(test, " ");
        if (&test == group.tests)
            line.append(names);
        else if (line.size() + 1 + names.size() <= kColumns)
            line.append(" ").append(names);
        else {
            text.append(line).append("\n");
            line = indent + names;
        }
    }
    return text + line;
}

std::string Offers(const std::string& front, const ifstGroupFrontEnd& group) {
    std::string text;
    for (const ifstTstCb& test : group.Tests()) {
        text.append(text.empty() ? "" : "\n").append(front);
        text.append("{").append(Names(test, ",")).append("}':").append(test.brief).append("'");
    }
    return text;
}

std::string Filled(const std::string& line) {
    static const std::regex mark("(.*)@(words|offers) (\\S+)@(.*)");
    std::smatch parts;
    if (!std::regex_match(line, parts, mark))
        return line;
    const auto make = parts[2] == "words" ? Words : Offers;
    return make(parts[1], GroupOf(parts[3].str())) + parts[4].str();
}

std::string FilledFile(const char* name) {
    std::ifstream file(name);
    if (!file)
        throw std::runtime_error("cannot be read");
    std::string text;
    for (std::string line; std::getline(file, line);)
        text += Filled(line) + "\n";
    return text;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: zel_fill TEMPLATE RESULT\n");
        return 2;
    }
    try {
        const std::string text = FilledFile(argv[1]);
        std::ofstream result(argv[2], std::ios::trunc);
        result << text << std::flush;
        if (!result) {
            std::remove(argv[2]);
            throw std::runtime_error(std::string("cannot write ") + argv[2]);
        }
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s: %s\n", argv[1], error.what());
        return 1;
    }
}
