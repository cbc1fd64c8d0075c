// All names and texts by which something in the catalogue is found.
#pragma once

#include <string>
#include <vector>

#include "catalogue/MessagePattern.h"
#include "explain/Lookup.h"

namespace zelhealth {

class Index {
public:
    struct Entry {
        MessagePattern pattern;
        Found found;
    };

    static const Index& AsWritten();

    // The same where letter case is to count for nothing: lines have to be in low case, too.
    static const Index& OfLowCase();

    const std::vector<Entry>& Entries() const { return entries_; }

private:
    explicit Index(bool lowCase);

    void Add(const std::string& text, const Found& found);
    void AddTest(const TestRow& row);
    void AddMessages(const MessageBook& book);

    bool lowCase_;
    std::vector<Entry> entries_;
};

std::string LowCase(std::string text);

}  // namespace zelhealth
