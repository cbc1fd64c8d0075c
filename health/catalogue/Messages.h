// What failures mean and what to do about them, for people.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "catalogue/MessageRows.h"

namespace zelhealth {

class Messages {
public:
    // Those of the tool.
    static const Messages& BuiltIn();

    // Those of this program.
    static const Messages& OfZelhealth();

    // Throws std::runtime_error that says what is wrong with the text.
    explicit Messages(std::string_view toml) : book_(ReadMessageBook(toml)) {}

    const MessageBook& Book() const { return book_; }

    // The row of a failure, as the tool's summary names it; null where it is not known.
    const MessageRow* Failure(std::string_view text) const;

    // The last of a test's failures that says why; the last of all where each only follows from another. Empty
    // without any.
    std::string Telling(const std::vector<std::string>& failures) const;

private:
    MessageBook book_;
};

// As people read it.
struct Advice {
    std::string means;
    std::string next;
    // What there is more to be known of, as zelhealth explain takes it; empty where that is all.
    std::string more;
};

// What the last of the tool's messages that is known and says why tells; else what the reason does, where it is
// one of this program's own; else what the verdict ("timed_out") does.
Advice AdviceFor(const std::vector<std::string>& messages, const std::string& reason,
                 const std::string& verdict);

// Of one of this program's own texts in a record; empty where it is none.
Advice AdviceForText(const std::string& text);

}  // namespace zelhealth
