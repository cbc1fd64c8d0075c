#include "explain/Index.h"

#include <algorithm>
#include <cctype>

#include "catalogue/Messages.h"

namespace zelhealth {

namespace {

// As the closing report shows it: "timed out".
std::string WithBlanks(std::string name) {
    std::replace(name.begin(), name.end(), '_', ' ');
    return name;
}

struct Namer {
    std::string operator()(const TestRow* row) const { return row->Id(); }
    std::string operator()(const FoundMessage& message) const { return message.text->text; }
    std::string operator()(const VerdictRow* row) const { return row->name; }
    std::string operator()(const StatusRow* row) const {
        return "status " + std::to_string(row->number);
    }
};

}  // namespace

std::string LowCase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

std::string NameOf(const Found& found) {
    return std::visit(Namer{}, found);
}

const Index& Index::AsWritten() {
    static const Index index(false);
    return index;
}

const Index& Index::OfLowCase() {
    static const Index index(true);
    return index;
}

Index::Index(bool lowCase) : lowCase_(lowCase) {
    for (const TestRow& row : Catalogue::BuiltIn().Tests()) {
        AddTest(row);
    }
    for (const VerdictRow& row : Verdicts::BuiltIn().All()) {
        Add(row.name, &row);
        Add(WithBlanks(row.name), &row);
    }
    for (const StatusRow& row : Verdicts::BuiltIn().Statuses()) {
        const std::string number = std::to_string(row.number);
        for (const std::string& name : {number, "status " + number, "exit status " + number}) {
            Add(name, &row);
        }
        if (!row.monitor.empty()) {
            Add(row.monitor, &row);
        }
    }
    AddMessages(Messages::BuiltIn().Book());
    AddMessages(Messages::OfZelhealth().Book());
}

void Index::Add(const std::string& text, const Found& found) {
    MessagePattern pattern(lowCase_ ? LowCase(text) : text);
    // Names are told by all of their letters; the forms of lines, such as "<file>: <fault>", by none.
    if (pattern.IsTold() || text.find('<') == text.npos) {
        entries_.push_back({std::move(pattern), found});
    }
}

void Index::AddTest(const TestRow& row) {
    for (const std::string& name :
         {row.Id(), row.name, "-" + row.name, row.also, "-" + row.also,
          row.groupWord + " -" + row.name, row.groupSummary + "." + row.summary, row.title}) {
        Add(name, &row);
    }
}

void Index::AddMessages(const MessageBook& book) {
    for (const MessageSection& section : book.sections) {
        for (const MessageRow& row : section.rows) {
            for (const MessageText& text : row.texts) {
                Add(text.text, FoundMessage{&row, &text, &book.KindOf(text.kind)});
            }
        }
    }
}

}  // namespace zelhealth
