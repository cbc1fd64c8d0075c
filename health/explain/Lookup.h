// What a word or a line is: a test, a message, a verdict, an exit status.
#pragma once

#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "catalogue/Catalogue.h"
#include "catalogue/MessageRows.h"
#include "catalogue/Verdicts.h"

namespace zelhealth {

// A message's row, and the one of its texts that was found.
struct FoundMessage {
    const MessageRow* row = nullptr;
    const MessageText* text = nullptr;
    const MessageKind* kind = nullptr;

    // By any of its texts it is the same.
    bool operator==(const FoundMessage& other) const { return row == other.row; }
};

// Points into the catalogue, which lives as long as the program.
using Found = std::variant<const TestRow*, FoundMessage, const VerdictRow*, const StatusRow*>;

struct Answer {
    std::vector<Found> found;  // each once, the shortest name first
    bool exact = false;        // else these are the nearest that are known
    std::size_t more = 0;      // that are as near, and left out
};

// A whole line, or a part of it. Letter case counts only where something is found with it. Of lines that are
// longer than any message only the beginning is looked at.
Answer LookUp(std::string_view what);

// By what it is found, as its row writes it: "pcie.vlw", "timed_out", "status 2", "Link trained down".
std::string NameOf(const Found& found);

}  // namespace zelhealth
