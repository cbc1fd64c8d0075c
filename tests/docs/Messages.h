// The messages that the manual documents, and what a line of ZelDiag must look like to be one of them.
#pragma once

#include <regex>
#include <string>
#include <vector>

struct Message {
    std::string text;  // with <...> where it varies
    std::string mark;  // where it is shown
};

// A page's entries.
std::vector<Message> ReadMessages(const std::string& page);

// Those of ZelDiag-messages(7).
const std::vector<Message>& Messages();

// Whether a line of output is a documented message, or several that stand on one line because the first
// ones end without a line end.
bool IsDocumented(const std::string& line);

// Plain text as a part of a regular expression.
std::string Escaped(const std::string& text);
