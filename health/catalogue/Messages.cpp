#include "catalogue/Messages.h"

#include <algorithm>

#include "catalogue/Markup.h"
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

Advice AdviceFor(const std::vector<std::string>& messages, const std::string& verdict) {
    for (auto message = messages.rbegin(); message != messages.rend(); ++message) {
        if (const MessageRow* const row = Messages::BuiltIn().Failure(*message)) {
            const bool all = row->causes.empty() && row->detail.empty();
            return {Plain(row->means), Plain(row->Advice()), all ? "" : *message};
        }
    }
    const VerdictRow& row = Verdicts::BuiltIn().OfTest(verdict);
    return {Plain(row.means), Plain(row.next), row.causes.empty() ? "" : row.name};
}

}  // namespace zelhealth
