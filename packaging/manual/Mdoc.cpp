#include "Mdoc.h"

#include <cctype>
#include <stdexcept>
#include <string_view>

#include "catalogue/Markup.h"

namespace {

using zelhealth::MarkedPiece;
using zelhealth::MessageRow;
using zelhealth::MessageSection;

// A longer line is bad style to mandoc.
constexpr std::size_t kColumns = 79;

constexpr std::string_view kClosing = ".,:;)?!";

bool IsClosing(char c) {
    return kClosing.find(c) != kClosing.npos;
}

// Characters that are shown as they stand.
std::string Escaped(std::string_view text) {
    std::string escaped;
    for (const char c : text) {
        if (c == '\\')
            escaped += "\\e";
        else if (c == '-')
            escaped += "\\-";
        else if (c == '\'')
            escaped += "\\(aq";
        else
            escaped += c == '"' ? std::string("\"\"") : std::string(1, c);
    }
    return escaped;
}

// One argument, at whose end no sentence ends.
std::string Quoted(const std::string& text) {
    const std::string begin = text.starts_with('.') ? "\"\\&" : "\"";
    const bool ends = IsClosing(text.back()) || text.back() == ']';
    return begin + Escaped(text) + (ends ? "\\&\"" : "\"");
}

// Writes words into lines.
class Filler {
public:
    void AddWord(const std::string& word) {
        if (!line_.empty() && line_.size() + 1 + word.size() > kColumns)
            EndLine();
        if (line_.empty() && (word.front() == '.' || word.front() == '\''))
            line_ = "\\&";
        line_ += (line_.empty() || line_ == "\\&" ? "" : " ") + word;
        if (word.back() == '.')
            EndLine();
    }

    void AddMacro(const std::string& macro) {
        EndLine();
        line_ = macro;
        EndLine();
    }

    std::string Text() {
        EndLine();
        return text_;
    }

private:
    void EndLine() {
        if (!line_.empty())
            text_ += line_ + "\n";
        line_.clear();
    }

    std::string text_;
    std::string line_;
};

std::string Argument(const MarkedPiece& piece) {
    const bool isOne = piece.macro != "Xr" && piece.text.find(' ') != piece.text.npos;
    if (isOne)
        return Quoted(piece.text);
    // A name of a capital and a small letter would be taken for a macro.
    const bool isMacro = piece.text.size() == 2 && std::isupper(piece.text.front()) != 0;
    return (isMacro ? "\\&" : "") + (piece.macro == "Sx" ? piece.text : Escaped(piece.text));
}

// What follows a macro without a blank: "=8:" becomes " Ns =8 :".
std::string Behind(std::string_view word) {
    std::size_t end = word.size();
    while (end > 0 && IsClosing(word[end - 1]))
        --end;
    std::string text = end > 0 ? " Ns " + Escaped(word.substr(0, end)) : "";
    for (const char c : word.substr(end))
        text += std::string(" ") + c;
    return text;
}

std::string Paragraph(const MessageRow& row) {
    std::string text = row.means;
    const auto add = [&text](const std::string& more) { text += more.empty() ? "" : " " + more; };
    add(row.detail);
    std::string causes;
    for (const std::string& cause : row.causes)
        causes += (causes.empty() ? "" : "; ") + cause;
    add(causes.empty() ? "" : "Likely causes, in order: " + causes + ".");
    add(row.next);
    return text;
}

std::string Items(const MessageSection& section) {
    std::string text;
    for (const MessageRow& row : section.rows) {
        text += text.empty() ? "" : ".Pp\n";
        for (const zelhealth::MessageText& message : row.texts)
            text += ".It Sy " + Quoted(message.text) + " Pq " + message.kind + "\n";
        text += MdocText(Paragraph(row));
    }
    return text;
}

}  // namespace

std::string MdocText(const std::string& marked) {
    Filler filler;
    std::string macro;
    for (const MarkedPiece& piece : zelhealth::MarkedPieces(marked)) {
        std::string_view rest = piece.text;
        if (!piece.macro.empty()) {
            if (!macro.empty())
                throw std::runtime_error("\"" + marked + "\": two braces without a blank");
            macro = "." + piece.macro + " " + Argument(piece);
            continue;
        }
        if (!macro.empty()) {
            const std::string_view attached = rest.substr(0, rest.find(' '));
            filler.AddMacro(macro + Behind(attached));
            macro.clear();
            rest.remove_prefix(attached.size());
        }
        for (std::size_t begin = rest.find_first_not_of(' '); begin != rest.npos;
             begin = rest.find_first_not_of(' ')) {
            rest.remove_prefix(begin);
            const std::string_view word = rest.substr(0, rest.find(' '));
            filler.AddWord(std::string(word));
            rest.remove_prefix(word.size());
        }
    }
    if (!macro.empty())
        filler.AddMacro(macro);
    return filler.Text();
}

std::string MdocKinds(const zelhealth::MessageBook& book) {
    std::string text;
    for (const zelhealth::MessageKind& kind : book.kinds)
        text += ".It " + kind.name + "\n" + MdocText(kind.shown);
    return text;
}

std::string MdocSections(const zelhealth::MessageBook& book) {
    std::string text;
    std::string name;
    for (const MessageSection& section : book.sections) {
        if (section.name != name)
            text += ".Sh " + section.name + "\n";
        name = section.name;
        text += section.part.empty() ? "" : ".Ss " + section.part + "\n";
        text += section.about.empty() ? "" : MdocText(section.about) + ".Pp\n";
        text += ".Bl -tag -width Ds -compact\n" + Items(section) + ".El\n";
    }
    return text;
}
