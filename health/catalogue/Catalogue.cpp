#include "catalogue/Catalogue.h"

#include <algorithm>
#include <stdexcept>

#include "catalogue/TomlRows.h"

namespace zelhealth {

namespace embedded {
extern const std::string_view tests_toml;
}

namespace {

constexpr double kGib = 1024.0 * 1024 * 1024;

// For a card that does not tell how much memory it has: the largest that there is.
constexpr std::uint64_t kMostMemory = 16ULL * 1024 * 1024 * 1024;

double Number(const toml::table& table, std::string_view key) {
    const auto value = table[key].value<double>();
    if (!value || *value <= 0) {
        throw std::runtime_error(NeededText(table, "name") + " has no " + std::string(key));
    }
    return *value;
}

NeededMode Mode(const std::string& name) {
    for (const NeededMode mode : {NeededMode::normal, NeededMode::ready, NeededMode::any}) {
        if (name == NameOf(mode)) {
            return mode;
        }
    }
    throw std::runtime_error("no mode is called " + name);
}

TestRow Row(const toml::table& group, const toml::table& test, int number) {
    TestRow row;
    row.group = NeededText(group, "name");
    row.groupWord = NeededText(group, "word");
    row.groupTitle = NeededText(group, "title");
    row.groupSummary = NeededText(group, "summary");
    row.number = number;
    row.name = NeededText(test, "name");
    row.also = NeededText(test, "also");
    row.title = NeededText(test, "title");
    row.summary = NeededText(test, "summary");
    row.reads = NeededText(test, "reads");
    row.disturbs = test["disturbs"].value_or(false);
    row.waits = test["waits"].value_or(false);
    row.mode = Mode(NeededText(test, "mode"));
    row.resources = TextsOf(test, "resources");
    row.needs = TextsOf(test, "needs");
    row.generations = TextsOf(test, "generations");
    row.options = TextsOf(test, "options");
    row.expectedSeconds = Number(test, "expected");
    row.deadlineSeconds = Number(test, "deadline");
    row.perGibSeconds = test["per_gib"].value_or(0.0);
    row.why = NeededText(test, "why");
    return row;
}

double GibOf(std::uint64_t bytes) {
    return static_cast<double>(bytes == 0 ? kMostMemory : bytes) / kGib;
}

}  // namespace

std::string_view NameOf(NeededMode mode) {
    switch (mode) {
        case NeededMode::normal:
            return "normal";
        case NeededMode::ready:
            return "ready";
        case NeededMode::any:
            break;
    }
    return "any";
}

bool TestRow::Suits(std::string_view generation) const {
    return std::find(generations.begin(), generations.end(), generation) != generations.end();
}

double TestRow::Expected(std::uint64_t memoryBytes) const {
    return expectedSeconds + perGibSeconds * GibOf(memoryBytes);
}

std::chrono::milliseconds TestRow::Deadline(std::uint64_t memoryBytes) const {
    const std::chrono::duration<double> seconds(deadlineSeconds +
                                                perGibSeconds * GibOf(memoryBytes));
    return std::chrono::ceil<std::chrono::milliseconds>(seconds);
}

const Catalogue& Catalogue::BuiltIn() {
    static const Catalogue catalogue(embedded::tests_toml);
    return catalogue;
}

Catalogue::Catalogue(std::string_view toml) {
    const toml::table document = toml::parse(toml);
    const toml::array* const groups = document["group"].as_array();
    if (groups == nullptr) {
        throw std::runtime_error("the catalogue has no groups");
    }
    for (const toml::node& group : *groups) {
        const toml::array* const tests = group.ref<toml::table>()["test"].as_array();
        int number = 0;
        for (const toml::node& test : *tests) {
            tests_.push_back(Row(group.ref<toml::table>(), test.ref<toml::table>(), ++number));
        }
    }
}

const TestRow* Catalogue::Find(std::string_view id) const {
    const auto row = std::find_if(tests_.begin(), tests_.end(),
                                  [id](const TestRow& test) { return test.Id() == id; });
    return row == tests_.end() ? nullptr : &*row;
}

}  // namespace zelhealth
