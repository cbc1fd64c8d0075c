#include "catalogue/Messages.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "catalogue/Markup.h"
#include "catalogue/MessagePattern.h"
#include "catalogue/Verdicts.h"

namespace zelhealth {

namespace embedded {
extern const std::string_view messages_toml;
extern const std::string_view zelhealth_toml;
}  // namespace embedded

const Messages& Messages::BuiltIn() {
    static const Messages messages(embedded::messages_toml);
    return messages;
}

const Messages& Messages::OfZelhealth() {
    static const Messages messages(embedded::zelhealth_toml);
    return messages;
}

const MessageRow* Messages::Failure(std::string_view text) const {
    for (const MessageSection& section : book_.sections) {
        for (const MessageRow& row : section.rows) {
            const bool has =
                std::any_of(row.texts.begin(), row.texts.end(), [text](const MessageText& known) {
                    return known.kind == "failure" && known.text == text;
                });
            if (has) {
                return &row;
            }
        }
    }
    return nullptr;
}

std::string Messages::Telling(const std::vector<std::string>& failures) const {
    const auto telling =
        std::find_if(failures.rbegin(), failures.rend(), [this](const std::string& failure) {
            const MessageRow* const row = Failure(failure);
            return row == nullptr || !row->follows;
        });
    if (telling != failures.rend()) {
        return *telling;
    }
    return failures.empty() ? "" : failures.back();
}

namespace {

Advice AdviceOf(const MessageRow& row, const std::string& text) {
    const bool all = row.causes.empty() && row.detail.empty();
    return {Plain(row.means), Plain(row.Advice()), all ? "" : text};
}

// What stands in records in place of a message of the tool.
class OwnTexts {
public:
    OwnTexts() {
        for (const MessageSection& section : Messages::OfZelhealth().Book().sections) {
            for (const MessageRow& row : section.rows) {
                Add(row);
            }
        }
    }

    Advice Find(const std::string& line) const {
        const auto found = std::find_if(texts_.begin(), texts_.end(), [&line](const auto& text) {
            return text.first.Matches(line);
        });
        return found == texts_.end() ? Advice() : AdviceOf(*found->second, Shown(found->first));
    }

private:
    // As the row writes it, since a line may hold what others have said; nothing where a shell would take it for
    // more than a word.
    static std::string Shown(const MessagePattern& pattern) {
        const std::string& text = pattern.Text();
        return text.find_first_of("\"$`\\") == text.npos ? text : "";
    }

    void Add(const MessageRow& row) {
        for (const MessageText& text : row.texts) {
            MessagePattern pattern(text.text);
            if ((text.kind == "note" || text.kind == "seen") && pattern.IsTold()) {
                texts_.emplace_back(std::move(pattern), &row);
            }
        }
    }

    std::vector<std::pair<MessagePattern, const MessageRow*>> texts_;
};

}  // namespace

Advice AdviceForText(const std::string& text) {
    static const OwnTexts texts;
    return texts.Find(OneLine(text));
}

Advice AdviceFor(const std::vector<std::string>& messages, const std::string& reason,
                 const std::string& verdict) {
    std::vector<std::string> known;
    std::copy_if(messages.begin(), messages.end(), std::back_inserter(known),
                 [](const auto& message) { return Messages::BuiltIn().Failure(message); });
    const std::string message = Messages::BuiltIn().Telling(known);
    if (const MessageRow* const row = Messages::BuiltIn().Failure(message)) {
        return AdviceOf(*row, message);
    }
    if (Advice own = AdviceForText(reason); !own.means.empty()) {
        return own;
    }
    const VerdictRow& row = Verdicts::BuiltIn().OfTest(verdict);
    return {Plain(row.means), Plain(row.next), row.causes.empty() ? "" : row.name};
}

}  // namespace zelhealth
