#include "catalogue/Messages.h"

#include <stdexcept>

#include <toml++/toml.h>

namespace zelhealth {

namespace embedded {
extern const std::string_view messages_toml;
}

namespace {

Advice ReadAdvice(const toml::table& table) {
    const auto means = table["means"].value<std::string>();
    const auto next = table["next"].value<std::string>();
    if (!means || !next) {
        throw std::runtime_error("a message of the catalogue lacks what it means or what to do");
    }
    return {*means, *next};
}

}  // namespace

const Messages& Messages::BuiltIn() {
    static const Messages messages(embedded::messages_toml);
    return messages;
}

Messages::Messages(std::string_view toml) {
    const toml::table document = toml::parse(toml);
    for (const toml::node& row : *document["message"].as_array()) {
        const toml::table& table = row.ref<toml::table>();
        for (const toml::node& name : *table["texts"].as_array()) {
            messages_.emplace(name.value<std::string>().value(), ReadAdvice(table));
        }
    }
    for (const auto& [verdict, row] : *document["verdict"].as_table()) {
        verdicts_.emplace(std::string(verdict.str()), ReadAdvice(row.ref<toml::table>()));
    }
}

const Advice& Messages::For(const std::vector<std::string>& messages,
                            const std::string& verdict) const {
    for (auto message = messages.rbegin(); message != messages.rend(); ++message) {
        if (const auto known = messages_.find(*message); known != messages_.end()) {
            return known->second;
        }
    }
    const auto known = verdicts_.find(verdict);
    return known == verdicts_.end() ? verdicts_.at("failed") : known->second;
}

}  // namespace zelhealth
