#include "Pages.h"

#include <cctype>
#include <cstdio>
#include <fstream>
#include <regex>
#include <sstream>
#include <stdexcept>

#include "Words.h"

namespace {

std::string Quoted(const std::string& word) {
    std::string quoted = "'";
    for (const char c : word)
        quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return quoted + "'";
}

std::string Rendered(const std::string& page, const std::vector<std::string>& options) {
    std::vector<std::string> words = {"mandoc"};
    words.insert(words.end(), options.begin(), options.end());
    words.push_back(PageFile(page));
    const Printed printed = RunProgram(words);
    if (printed.status != 0)
        throw std::runtime_error(page + ": " + printed.text);
    return printed.text;
}

bool IsOfWord(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '-' || c == '_';
}

}  // namespace

std::string ReadProjectFile(const std::string& path) {
    std::ifstream file(PROJECT_FOLDER "/" + path, std::ios::binary);
    if (!file)
        throw std::runtime_error("there is no file " + path);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

std::vector<std::string> SplitLines(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

std::string Trimmed(const std::string& text) {
    const char* const blanks = " \t\r";
    const std::size_t begin = text.find_first_not_of(blanks);
    if (begin == text.npos)
        return "";
    return text.substr(begin, text.find_last_not_of(blanks) - begin + 1);
}

Printed RunProgram(const std::vector<std::string>& words) {
    std::string command = "PATH=" BIN_FOLDER ":$PATH LC_ALL=C.UTF-8 ";
    for (const std::string& word : words)
        command += Quoted(word) + " ";
    FILE* pipe = popen((command + "2>&1 < /dev/null").c_str(), "r");
    if (pipe == nullptr)
        throw std::runtime_error("cannot run " + command);
    Printed printed{};
    char piece[4096];
    while (const std::size_t length = std::fread(piece, 1, sizeof(piece), pipe))
        printed.text.append(piece, length);
    printed.status = pclose(pipe);
    return printed;
}

std::string PageFile(const std::string& page) {
    return PAGE_FOLDER "/" + page;
}

std::vector<std::vector<std::string>> OptionEntries(const std::string& page) {
    const std::string html = Rendered(page, {"-T", "html"});
    static const std::regex head("<dt[^>]*>([\\s\\S]*?)</dt>");
    static const std::regex option("<code class=\"Fl\"[^>]*>([^<]*)</code>");
    std::vector<std::vector<std::string>> entries;
    for (std::sregex_iterator i(html.begin(), html.end(), head), end; i != end; ++i) {
        const std::string inside = (*i)[1];
        std::vector<std::string> names;
        for (std::sregex_iterator j(inside.begin(), inside.end(), option); j != end; ++j)
            names.push_back((*j)[1]);
        if (!names.empty())
            entries.push_back(names);
    }
    return entries;
}

std::string PlainPage(const std::string& page) {
    const std::string text = Rendered(page, {"-T", "utf8", "-O", "width=500"});
    std::string plain;
    for (const char c : text) {
        // A character is made bold or underlined by writing over it.
        if (c == '\b')
            plain.pop_back();
        else
            plain += c;
    }
    return plain;
}

bool HoldsWord(const std::string& text, const std::string& word) {
    const std::string lowText = Lower(text);
    const std::string lowWord = Lower(word);
    for (std::size_t at = lowText.find(lowWord); at != lowText.npos;
         at = lowText.find(lowWord, at + 1)) {
        const bool begins = at == 0 || !IsOfWord(lowText[at - 1]);
        const std::size_t end = at + lowWord.size();
        if (begins && (end == lowText.size() || !IsOfWord(lowText[end])))
            return true;
    }
    return false;
}
