#include "catalogue/Markup.h"

#include <algorithm>
#include <array>
#include <stdexcept>

namespace zelhealth {

namespace {

constexpr std::array<std::string_view, 7> kMacros = {"Ev", "Fl", "Li", "Pa", "Ql", "Sx", "Xr"};

std::runtime_error Wrong(std::string_view marked, const char* what) {
    return std::runtime_error("\"" + std::string(marked) + "\": " + what);
}

// "Pa Settings.ini"
MarkedPiece PieceOf(std::string_view inside, std::string_view marked) {
    const std::size_t blank = inside.find(' ');
    const std::string_view macro = inside.substr(0, blank);
    if (blank == inside.npos || blank + 1 == inside.size() ||
        std::find(kMacros.begin(), kMacros.end(), macro) == kMacros.end()) {
        throw Wrong(marked, "braces hold a macro, such as Pa, and a word");
    }
    return {std::string(macro), std::string(inside.substr(blank + 1))};
}

// "ssh 1" as "ssh(1)".
std::string PageName(const std::string& text) {
    const std::size_t blank = text.rfind(' ');
    return blank == text.npos ? text : text.substr(0, blank) + "(" + text.substr(blank + 1) + ")";
}

std::string PlainPiece(const MarkedPiece& piece) {
    if (piece.macro == "Fl") {
        return "-" + piece.text;
    }
    if (piece.macro == "Ql") {
        return "\"" + piece.text + "\"";
    }
    if (piece.macro == "Sx") {
        return piece.text + " in ZelDiag-messages(7)";
    }
    return piece.macro == "Xr" ? PageName(piece.text) : piece.text;
}

}  // namespace

std::vector<MarkedPiece> MarkedPieces(std::string_view marked) {
    std::vector<MarkedPiece> pieces;
    std::string_view rest = marked;
    while (!rest.empty()) {
        const std::string_view words = rest.substr(0, rest.find_first_of("{}"));
        rest.remove_prefix(words.size());
        if (!words.empty()) {
            pieces.push_back({"", std::string(words)});
        }
        if (rest.empty()) {
            break;
        }
        const std::size_t end = rest.find_first_of("{}", 1);
        if (rest.front() == '}' || end == rest.npos || rest[end] == '{') {
            throw Wrong(marked, "a brace is missing");
        }
        pieces.push_back(PieceOf(rest.substr(1, end - 1), marked));
        rest.remove_prefix(end + 1);
    }
    return pieces;
}

std::string Plain(std::string_view marked) {
    std::string plain;
    for (const MarkedPiece& piece : MarkedPieces(marked)) {
        plain += PlainPiece(piece);
    }
    return plain;
}

}  // namespace zelhealth
