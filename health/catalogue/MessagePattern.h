// A message as its row writes it, "Link trained down to <n> Lanes", and the lines that are one. Lines are as
// OneLine gives them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace zelhealth {

// Any run of blanks, line ends included, as one blank; none at either end.
std::string OneLine(std::string_view text);

class MessagePattern {
public:
    explicit MessagePattern(std::string_view text);

    // As it was given, in one line.
    const std::string& Text() const { return text_; }

    bool Matches(std::string_view line) const;

    // Whether the line begins with one, of several words, and goes on behind a word, or not at all.
    bool Begins(std::string_view line) const;

    // What stands in a line in place of another message, "<cause>", or of a test's title: where that may begin
    // at several places, each of these. Nothing where it holds none, or the line is another.
    std::vector<std::string> Inner(std::string_view line) const;

    bool NamesATest() const;

    // Whether enough of it is fixed to tell it from others.
    bool IsTold() const;

private:
    enum class Kind { literal, choice, number, digits, hex, letter, word, card, anything, maybe };

    struct Part {
        Kind kind = Kind::literal;
        std::string text;                  // of a literal; else its name
        std::vector<std::string> choices;  // of a choice
    };

    using Places = std::vector<bool>;  // of a line, its end included

    static Part Varying(const std::string& name);
    static void AddRuns(const Part& part, std::string_view line, const Places& from, Places& to);
    static Places Behind(const Part& part, std::string_view line, const Places& from);
    Places Reach(std::string_view line, std::size_t parts) const;

    std::string text_;
    std::vector<Part> parts_;
    std::string fixed_;  // the longest text that each line has which is one
};

}  // namespace zelhealth
