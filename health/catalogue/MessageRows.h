// The rows of messages.toml, as they stand there: what the manual page and the companion's own texts are made
// from. Texts for people are marked, see Markup.h.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace zelhealth {

// Where a text is shown.
struct MessageKind {
    std::string name;  // "failure"
    std::string shown;
};

struct MessageText {
    std::string kind;  // "failure", "trace diag1"
    std::string text;  // "Link trained down to <n> Lanes": <words> stand for what varies
};

struct MessageRow {
    std::vector<MessageText> texts;
    std::vector<std::string> tests;  // "pcie.vlw", or "pcie" for all of the group
    std::string means;
    std::string detail;
    std::vector<std::string> causes;  // the likeliest first
    std::string next;
    std::string zelhealth;  // in place of `next` where zelhealth speaks
    bool follows = false;   // its failure only follows from another that is told in front of it

    // The one of the two that zelhealth says.
    const std::string& Advice() const { return zelhealth.empty() ? next : zelhealth; }
};

struct MessageSection {
    std::string name;
    std::string part;
    std::string about;
    std::vector<MessageRow> rows;
};

struct MessageBook {
    std::vector<MessageKind> kinds;
    std::vector<MessageSection> sections;

    // That of a text's kind, "trace" for "trace diag1". Throws std::runtime_error when there is none.
    const MessageKind& KindOf(std::string_view kind) const;
};

// Throws std::runtime_error (toml::parse_error among them) that says what is wrong with the text.
MessageBook ReadMessageBook(std::string_view toml);

}  // namespace zelhealth
