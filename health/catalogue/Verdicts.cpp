#include "catalogue/Verdicts.h"

#include <algorithm>
#include <stdexcept>

#include "catalogue/TomlRows.h"

namespace zelhealth {

namespace embedded {
extern const std::string_view verdicts_toml;
}

namespace {

int Number(const toml::table& table, std::string_view key) {
    const auto number = table[key].value<int>();
    if (!number) {
        throw WrongRow(table, "the row has no " + std::string(key));
    }
    return *number;
}

VerdictRow Verdict(const toml::table& table) {
    RefuseOtherKeys(table, {"of", "name", "when", "means", "causes", "next", "status"});
    return {NeededText(table, "of"),    NeededText(table, "name"), NeededText(table, "when"),
            NeededText(table, "means"), TextsOf(table, "causes"),  OptionalText(table, "next"),
            Number(table, "status")};
}

StatusRow Status(const toml::table& table) {
    RefuseOtherKeys(
        table, {"of", "number", "when", "example", "next", "health_check", "prolog", "monitor"});
    return {NeededText(table, "of"),       Number(table, "number"),
            NeededText(table, "when"),     OptionalText(table, "example"),
            OptionalText(table, "next"),   OptionalText(table, "health_check"),
            OptionalText(table, "prolog"), OptionalText(table, "monitor")};
}

}  // namespace

const Verdicts& Verdicts::BuiltIn() {
    static const Verdicts verdicts(embedded::verdicts_toml);
    return verdicts;
}

Verdicts::Verdicts(std::string_view toml) {
    const toml::table document = toml::parse(toml);
    RefuseOtherKeys(document, {"verdict", "status"});
    for (const toml::table* const row : TablesOf(document, "verdict")) {
        verdicts_.push_back(Verdict(*row));
    }
    for (const toml::table* const row : TablesOf(document, "status")) {
        statuses_.push_back(Status(*row));
    }
}

bool Verdicts::Knows(std::string_view of, std::string_view name) const {
    return std::any_of(verdicts_.begin(), verdicts_.end(), [of, name](const VerdictRow& row) {
        return row.of == of && row.name == name;
    });
}

const VerdictRow& Verdicts::OfTest(std::string_view name) const {
    const auto find = [this](std::string_view wanted) {
        return std::find_if(verdicts_.begin(), verdicts_.end(), [wanted](const VerdictRow& row) {
            return row.of == "test" && row.name == wanted;
        });
    };
    const auto found = find(name);
    if (found != verdicts_.end()) {
        return *found;
    }
    const auto failed = find("failed");
    if (failed == verdicts_.end()) {
        throw std::runtime_error("the catalogue has no verdict for a failed test");
    }
    return *failed;
}

}  // namespace zelhealth
