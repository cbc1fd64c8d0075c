// What the companion complains with has a row: what it means, and what to do.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <regex>

#include "Literals.h"
#include "Messages.h"
#include "Pages.h"
#include "catalogue/Messages.h"

namespace {

namespace fs = std::filesystem;

// Sources whose complaints no operator meets: the rows themselves are checked when they are built in, what the tool
// prints is told as "its output has not its form", and zelcard's stand behind a text of zelhealth. What runs record
// as reasons, with what to do in the same call, CompanionMessages looks for.
constexpr const char* kLeftOut[] = {"health/catalogue/",     "health/card/",
                                    "health/run/ToolOutput", "health/run/Verdict",
                                    "health/host/Preflight", "health/schedule/"};

std::vector<std::string> Sources() {
    std::vector<std::string> files;
    for (const auto& entry : fs::recursive_directory_iterator(PROJECT_FOLDER "/health")) {
        const std::string file = fs::relative(entry.path(), PROJECT_FOLDER);
        const bool leftOut =
            std::any_of(std::begin(kLeftOut), std::end(kLeftOut),
                        [&file](const char* start) { return file.starts_with(start); });
        if (entry.path().extension() == ".cpp" && !leftOut)
            files.push_back(file);
    }
    std::sort(files.begin(), files.end());
    return files;
}

// From behind an opening bracket to the one that closes it, or to the statement's end.
std::string UpToItsEnd(const std::string& source, std::size_t begin) {
    int open = 1;
    std::size_t at = begin;
    for (; at < source.size() && open > 0; ++at) {
        if (source[at] == '"') {
            for (++at; at < source.size() && source[at] != '"'; ++at)
                at += source[at] == '\\' ? 1 : 0;
        } else if (source[at] == ';' && open == 1) {
            break;
        } else if (source[at] == '(' || source[at] == '{') {
            ++open;
        } else if (source[at] == ')' || source[at] == '}') {
            --open;
        }
    }
    return source.substr(begin, at - begin);
}

// What is told in one line, thrown, or given as a reason by those to whom a source gives its texts.
std::vector<std::string> Complaints(const std::string& source) {
    static const std::regex call(
        R"(\b(?:Complain|Unanswerable|NoAnswer|NewerHistory|Refusal|Exception|\w*[eE]rror|tell_?|Tell|)"
        R"(Fail|Failure|Refuse|Fault|Wrong|Throw|Reason|Broken)\s*[({]|\breturn\s+(?="))");
    std::vector<std::string> texts;
    for (std::sregex_iterator i(source.begin(), source.end(), call), end; i != end; ++i) {
        const auto behind = static_cast<std::size_t>(i->position() + i->length());
        for (const std::string& text : ReadLiterals(UpToItsEnd(source, behind)))
            texts.push_back(text);
    }
    return texts;
}

// Without quotation marks, which rows leave out around what varies.
std::string Unquoted(std::string text) {
    std::erase(text, '"');
    return text;
}

// What stands in braces may be anything.
std::regex PatternOf(const std::string& text) {
    static const std::regex varying("\\{[^}]*\\}");
    std::string pattern;
    auto plain = text.begin();
    for (std::sregex_iterator i(text.begin(), text.end(), varying), end; i != end; ++i) {
        pattern += Escaped(std::string(plain, (*i)[0].first)) + ".+";
        plain = (*i)[0].second;
    }
    return std::regex(pattern + Escaped(std::string(plain, text.end())));
}

std::vector<std::string> Rows() {
    std::vector<std::string> rows;
    for (const auto& section : zelhealth::Messages::OfZelhealth().Book().sections) {
        for (const auto& row : section.rows) {
            for (const auto& text : row.texts)
                rows.push_back(Unquoted(text.text));
        }
    }
    return rows;
}

TEST(CompanionTexts, OfTheSourcesHaveARow) {
    static const std::regex words("[a-z]+,? [a-z]+");
    const std::vector<std::string> rows = Rows();
    int found = 0;
    for (const std::string& file : Sources()) {
        for (const std::string& complaint : Complaints(ReadProjectFile(file))) {
            const std::string text = Trimmed(Unquoted(complaint));
            if (!std::regex_search(text, words))
                continue;
            ++found;
            const std::regex pattern = PatternOf(text);
            EXPECT_TRUE(std::any_of(
                rows.begin(), rows.end(),
                [&](const std::string& row) { return std::regex_search(row, pattern); }))
                << file << ": \"" << complaint
                << "\" has no row in health/catalogue/zelhealth.toml";
        }
    }
    EXPECT_GT(found, 80);
}

// Each kind of exception that sources throw is one whose texts are found.
TEST(CompanionTexts, AreThoseOfEachException) {
    static const std::regex kind("class (\\w+) : public std::runtime_error");
    int found = 0;
    for (const auto& entry : fs::recursive_directory_iterator(PROJECT_FOLDER "/health")) {
        const std::string extension = entry.path().extension();
        if (extension != ".h" && extension != ".cpp")
            continue;
        const std::string source = ReadProjectFile(fs::relative(entry.path(), PROJECT_FOLDER));
        for (std::sregex_iterator i(source.begin(), source.end(), kind), end; i != end; ++i) {
            EXPECT_EQ(Complaints("throw " + (*i)[1].str() + "(\"a text\");").size(), 1U)
                << (*i)[1].str() << " is none of those that Complaints looks for";
            ++found;
        }
    }
    EXPECT_GT(found, 3);
}

// A text, one in pieces, one that is formatted and thrown, and one that is given back; what is only printed is none.
TEST(CompanionTexts, AreFoundInSources) {
    const std::string source =
        "void f() {\n    Complain(\"one; two (\" + Name(\"three four\") + \") five\");\n"
        "    throw std::runtime_error(fmt::format(\"six \"\n \"seven {}\", 8));\n"
        "    return \"nine \\\" ten\";\n    Print(\"eleven\");\n}\n";
    EXPECT_EQ(Complaints(source), (std::vector<std::string>{"one; two (", "three four", ") five",
                                                            "six seven {}", "nine \" ten"}));
}

}  // namespace
