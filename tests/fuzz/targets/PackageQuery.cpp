// What the package manager's query prints, as the shell command's output.
//
// The version is the third word of it, or "NotAvailable"; it holds no blank and no line end.
#include <cctype>
#include <string>
#include <vector>

#include "CommonTool/ShellExecuter.h"
#include "CommonTool/Utils.h"
#include "FakeShell.h"
#include "Journal.h"
#include "support/Expect.h"
#include "support/Input.h"

namespace {

using fuzz::ExpectEqual;

std::vector<std::string> WordsOf(const std::string& text) {
    std::vector<std::string> words;
    bool inWord = false;
    for (const char c : text) {
        const bool blank = std::isspace(static_cast<unsigned char>(c)) != 0;
        if (!blank && !inWord)
            words.emplace_back();
        if (!blank)
            words.back() += c;
        inWord = !blank;
    }
    return words;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string answer(fuzz::Text(data, size));
    fakes::TheJournal().Clear();
    fakes::Shell().Reset();
    fakes::Shell().OnCommand([&answer](const std::string&) { return fakes::ShellAnswer{answer}; });

    ShellExecuter command("anything");
    command.Execute();
    ExpectEqual(command.GetOutput(), answer.substr(0, answer.find_last_not_of(" \n\r\t") + 1),
                "the output of a command");

    const std::vector<std::string> words = WordsOf(answer);
    const std::string expected = words.size() < 3 ? "NotAvailable" : words[2];
    ExpectEqual(Utils::GetHOSKVersion(), expected, "the version");
    ExpectEqual(Utils::GetHOSKVersion(), expected, "the version, asked for again");
    fakes::Shell().Reset();
    return 0;
}
