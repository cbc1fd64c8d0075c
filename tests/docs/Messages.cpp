#include "Messages.h"

#include <algorithm>
#include <cctype>
#include <map>

#include "Pages.h"
#include "Words.h"

namespace {

std::string OneOf(const std::vector<std::string>& patterns) {
    std::string joined;
    for (const std::string& pattern : patterns)
        joined += (joined.empty() ? "" : "|") + pattern;
    return "(?:" + joined + ")";
}

std::string PatternOf(const std::string& text);

// Every message that is shown in the place of such a word.
std::string MessagesMarked(const std::vector<std::string>& marks) {
    std::vector<std::string> patterns;
    for (const Message& message : Messages()) {
        if (std::find(marks.begin(), marks.end(), message.mark) != marks.end())
            patterns.push_back(PatternOf(message.text));
    }
    return OneOf(patterns);
}

std::vector<std::string> Titles(bool ofTests) {
    std::vector<std::string> titles;
    for (const DocGroup& group : Groups()) {
        if (!ofTests)
            titles.push_back(Escaped(group.title));
        for (const std::string& title : group.testTitles) {
            if (ofTests)
                titles.push_back(Escaped(Trimmed(title)));
        }
    }
    return titles;
}

// What may stand for <name>. Cases write N for a number that differs from machine to machine.
std::string PatternOfName(const std::string& name) {
    static const std::map<std::string, std::string> kPlain = {
        {"n", "-?\\d+|N"},    {"hex", "[0-9A-Fa-f]+"}, {"letter", "[A-Z]"}, {"program", "\\w*"},
        {"file", "\\S+"},     {"line", "\\d+"},        {"version", ".*"},   {"function", "\\w+"},
        {"test", "[\\w<>]+"}, {"numbers", "[\\d,]+"},
    };
    if (const auto plain = kPlain.find(name); plain != kPlain.end())
        return "(?:" + plain->second + ")";
    if (name == "group")
        return OneOf({OneOf(Titles(false)), "\\w+"});
    if (name == "title")
        return OneOf(Titles(true)) + " ?";
    if (name == "reason")
        return " ?" + OneOf({MessagesMarked({"reason", "cause", "card"}), ""}) + " *";
    if (name == "failure")
        return MessagesMarked({"failure"});
    if (name == "cause")
        return MessagesMarked({"cause", "card", "library"});
    if (name == "fault")
        return MessagesMarked({"fault"});
    if (name == "step")
        return MessagesMarked({"part"});
    if (name == "library")
        return MessagesMarked({"library"});
    // "OK or FAILED": the words themselves.
    if (name.find(" or ") != name.npos) {
        std::vector<std::string> words;
        static const std::regex between(", | or ");
        for (std::sregex_token_iterator i(name.begin(), name.end(), between, -1), end; i != end;
             ++i)
            words.push_back(Escaped(i->str()));
        return OneOf(words);
    }
    return ".+";
}

std::string PatternOf(const std::string& text) {
    static const std::regex varying("<([a-z][A-Za-z0-9, ]*|[A-Z0-9][A-Za-z0-9, -]*)>");
    std::string pattern;
    auto plain = text.begin();
    for (std::sregex_iterator i(text.begin(), text.end(), varying), end; i != end; ++i) {
        pattern += Escaped(std::string(plain, (*i)[0].first)) + PatternOfName((*i)[1]);
        plain = (*i)[0].second;
    }
    return pattern + Escaped(std::string(plain, text.end()));
}

// The patterns are long where one stands for many messages: each is built once.
const std::vector<std::regex>& Patterns() {
    static const std::vector<std::regex> patterns = [] {
        std::vector<std::regex> all;
        for (const Message& message : Messages()) {
            // A reason may hold a line end of its own, in front of the bracket.
            std::string pattern = PatternOf(message.text);
            if (message.text.ends_with("<reason>]"))
                pattern.replace(pattern.size() - 2, 2, "(?:\\])?");
            all.emplace_back(pattern, std::regex::optimize);
        }
        return all;
    }();
    return patterns;
}

bool IsOneMessage(const std::string& line) {
    // What varies may be empty at the line's end, where a blank in front of it is gone.
    return std::any_of(Patterns().begin(), Patterns().end(), [&](const std::regex& pattern) {
        return std::regex_match(line, pattern) || std::regex_match(line + " ", pattern);
    });
}

}  // namespace

std::vector<Message> ReadMessages(const std::string& page) {
    // The marks that ZelDiag-messages(7) defines.
    static const std::regex entry(
        "     (\\S.*) \\((always|out|err|trace|trace diag[12]|tools|reason|failure|cause|card|part|"
        "fault|library)\\)");
    std::vector<Message> messages;
    for (const std::string& line : SplitLines(PlainPage(page))) {
        std::smatch match;
        if (std::regex_match(line, match, entry))
            messages.push_back({match[1], match[2]});
    }
    return messages;
}

const std::vector<Message>& Messages() {
    static const std::vector<Message> messages = ReadMessages("ZelDiag-messages.7");
    return messages;
}

bool IsDocumented(const std::string& line) {
    const std::string text = Trimmed(line);
    // Rules, empty lines, and the bracket of a reason that ends with a line end.
    const bool isText = std::any_of(
        text.begin(), text.end(), [](unsigned char c) { return c > 0x7F || std::isalnum(c) != 0; });
    if (!isText || IsOneMessage(text))
        return true;
    // The second begins with a capital letter.
    for (std::size_t i = 1; i < text.size(); ++i) {
        if (text[i] >= 'A' && text[i] <= 'Z' && IsOneMessage(Trimmed(text.substr(0, i))) &&
            IsDocumented(text.substr(i)))
            return true;
    }
    return false;
}

std::string Escaped(const std::string& text) {
    std::string escaped;
    for (const char c : text) {
        if (std::string("\\^$.|?*+()[]{}").find(c) != std::string::npos)
            escaped += '\\';
        escaped += c;
    }
    return escaped;
}
