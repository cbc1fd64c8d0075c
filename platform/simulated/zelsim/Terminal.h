// How zelsim speaks: complaints are one line on standard error, and colours are for people at a terminal.
#pragma once

#include <string>

namespace simulated {

enum class Style {
    Strong,     // a heading
    Good,       // as it should be
    Attention,  // worth a second look
    Fault,
};

// True for a terminal that knows colours, unless NO_COLOR is set to something.
bool ShowsColours(int descriptor);

// A terminal on which a line can be written anew.
bool CanRewriteLines(int descriptor);

// The text in a style where `descriptor` shows colours, else as it is.
std::string Styled(int descriptor, Style style, const std::string& text);

// "zelsim: TEXT" on standard error.
void Complain(const std::string& text);

}  // namespace simulated
