// The texts of the catalogue's rows: words, and in braces those of which it matters what they are, behind a
// macro of mdoc(7): "Put the key into {Pa Settings.ini}."
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace zelhealth {

// A run of text. Where one follows the other without a blank between them, none stands in either.
struct MarkedPiece {
    std::string macro;  // "Pa"; empty for words that are nothing in particular
    std::string text;
};

// Throws std::runtime_error for a brace without its other one, and for a macro that rows do not use.
std::vector<MarkedPiece> MarkedPieces(std::string_view marked);

// As people read it at a terminal.
std::string Plain(std::string_view marked);

}  // namespace zelhealth
