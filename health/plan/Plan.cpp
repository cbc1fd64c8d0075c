#include "plan/Plan.h"

#include <fmt/format.h>
#include <strings.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <map>
#include <set>

#include <toml++/toml.h>

namespace zelhealth {

namespace embedded {
extern const std::string_view prolog_toml;
extern const std::string_view check_toml;
extern const std::string_view standard_toml;
extern const std::string_view thorough_toml;
}  // namespace embedded

namespace {

struct BuiltIn {
    std::string_view name;
    const std::string_view* text;
};

constexpr BuiltIn kBuiltIn[] = {
    {"prolog", &embedded::prolog_toml},
    {"check", &embedded::check_toml},
    {"standard", &embedded::standard_toml},
    {"thorough", &embedded::thorough_toml},
};

constexpr std::size_t kLargestPlan = 1024UL * 1024;
constexpr std::int64_t kMostRepetitions = 100000;
constexpr double kLongestDeadline = 30.0 * 24 * 3600;

class Reader {
public:
    Reader(const std::string& name, std::string_view text) : name_(name) { Parse(text); }

    Plan Read() {
        RefuseUnknown(document_, {"about", "tests", "memory", "card_deadline", "deadline", "test"});
        plan_.name = name_;
        plan_.about = Text(document_, "about");
        plan_.memory = Truth(document_, "memory");
        plan_.cardDeadline = Deadline(document_, "card_deadline");
        plan_.deadline = Deadline(document_, "deadline");
        ReadNames();
        ReadTests();
        if (plan_.tests.empty()) {
            throw PlanError(name_ + ": the plan holds no tests");
        }
        return std::move(plan_);
    }

private:
    void Parse(std::string_view text) {
        try {
            document_ = toml::parse(text);
        } catch (const toml::parse_error& error) {
            throw PlanError(
                fmt::format("{}:{}: {}", name_, error.source().begin.line, error.description()));
        }
    }

    [[noreturn]] void Refuse(const toml::node& node, const std::string& what) const {
        throw PlanError(fmt::format("{}:{}: {}", name_, node.source().begin.line, what));
    }

    void RefuseUnknown(const toml::table& table, const std::set<std::string_view>& known) const {
        for (const auto& [key, value] : table) {
            if (!known.contains(key.str())) {
                Refuse(value, fmt::format("\"{}\" is not known here", key.str()));
            }
        }
    }

    std::string Text(const toml::table& table, std::string_view key) const {
        const toml::node* const node = table.get(key);
        if (node != nullptr && !node->is_string()) {
            Refuse(*node, fmt::format("{} takes a text", key));
        }
        return node == nullptr ? "" : node->value<std::string>().value();
    }

    bool Truth(const toml::table& table, std::string_view key) const {
        const toml::node* const node = table.get(key);
        if (node != nullptr && !node->is_boolean()) {
            Refuse(*node, fmt::format("{} takes true or false", key));
        }
        return node != nullptr && node->value<bool>().value();
    }

    std::optional<std::chrono::milliseconds> Deadline(const toml::table& table,
                                                      std::string_view key) const {
        const toml::node* const node = table.get(key);
        if (node == nullptr) {
            return std::nullopt;
        }
        const auto seconds = node->value<double>();
        if (!node->is_number() || !(*seconds > 0 && *seconds <= kLongestDeadline)) {
            Refuse(*node,
                   fmt::format("{} takes seconds, more than 0 and no more than 30 days", key));
        }
        return std::chrono::ceil<std::chrono::milliseconds>(
            std::chrono::duration<double>(*seconds));
    }

    const toml::array* Array(const toml::table& table, std::string_view key) const {
        const toml::node* const node = table.get(key);
        if (node != nullptr && !node->is_array()) {
            Refuse(*node, fmt::format("{} takes a list", key));
        }
        return node == nullptr ? nullptr : node->as_array();
    }

    void ReadNames() {
        const toml::array* const names = Array(document_, "tests");
        if (names == nullptr) {
            return;
        }
        for (const toml::node& name : *names) {
            PlannedTest test;
            test.row = &Row(name);
            Add(name, test);
        }
    }

    void ReadTests() {
        const toml::array* const tests = Array(document_, "test");
        if (tests == nullptr) {
            return;
        }
        for (const toml::node& node : *tests) {
            const toml::table* const table = node.as_table();
            if (table == nullptr) {
                Refuse(node, "test takes tables, [[test]]; a list of names is called tests");
            }
            ReadTest(*table);
        }
    }

    void ReadTest(const toml::table& table) {
        RefuseUnknown(table, {"test", "options", "repeat", "deadline"});
        const toml::node* const name = table.get("test");
        if (name == nullptr) {
            Refuse(table, "a test needs its name: test = \"pcie.vlw\"");
        }
        PlannedTest test;
        test.row = &Row(*name);
        test.deadline = Deadline(table, "deadline");
        if (const toml::node* const repeat = table.get("repeat")) {
            const auto times = repeat->value<std::int64_t>();
            if (!repeat->is_integer() || *times < 1 || *times > kMostRepetitions) {
                Refuse(*repeat, "repeat takes a number from 1 to 100000");
            }
            test.repeat = static_cast<int>(*times);
        }
        if (const toml::array* const options = Array(table, "options")) {
            for (const toml::node& option : *options) {
                test.options.push_back(Option(*test.row, option));
            }
            ExpectRange(*options, test.options);
        }
        Add(*name, test);
    }

    const TestRow& Row(const toml::node& name) const {
        if (!name.is_string()) {
            Refuse(name, "a test is named by a text such as \"pcie.vlw\"");
        }
        const std::string id = name.value<std::string>().value();
        const TestRow* const row = Catalogue::BuiltIn().Find(id);
        if (row == nullptr) {
            Refuse(name, fmt::format("no test is called \"{}\"; zelhealth list shows them", id));
        }
        return *row;
    }

    // Anything but the test's own options would select other tests, or change what the tool prints.
    std::string Option(const TestRow& row, const toml::node& node) const {
        const auto option = node.value<std::string>();
        const std::size_t equals = option ? option->find('=') : std::string::npos;
        if (!node.is_string() || equals == std::string::npos) {
            Refuse(node, "options takes texts such as \"-memSize=0x1000000\"");
        }
        const std::string name = option->substr(0, equals);
        const bool known = std::any_of(
            row.options.begin(), row.options.end(),
            [&name](const std::string& own) { return strcasecmp(own.c_str(), name.c_str()) == 0; });
        if (!known) {
            const std::string takes =
                row.options.empty() ? "none" : fmt::format("{}", fmt::join(row.options, ", "));
            Refuse(node, fmt::format("{} has no option {}; it takes {}", row.Id(), name, takes));
        }
        return *option;
    }

    // Of a range that it cannot use the tool tests another, and passes.
    void ExpectRange(const toml::node& place, const std::vector<std::string>& options) const {
        std::map<std::string, unsigned long long> numbers;
        for (const std::string& option : options) {
            const std::size_t equals = option.find('=');
            std::string name = option.substr(0, equals);
            std::transform(name.begin(), name.end(), name.begin(),
                           [](unsigned char letter) { return std::tolower(letter); });
            const bool isSize = name == "-memsize";
            numbers[name] = std::strtoull(option.c_str() + equals + 1, nullptr, isSize ? 0 : 16);
            if (isSize && numbers[name] == 0) {
                Refuse(place, option + " is no size");
            }
        }
        if (numbers.contains("-endaddress") && numbers["-endaddress"] <= numbers["-startaddress"]) {
            Refuse(place, "-endAddress must be greater than -startAddress, or than 0 without it");
        }
    }

    void Add(const toml::node& place, const PlannedTest& test) {
        if (test.row->mode == NeededMode::ready && !plan_.memory) {
            Refuse(
                place,
                test.row->Id() +
                    " takes the card from normal mode: a plan that may do so says memory = true");
        }
        plan_.tests.push_back(test);
    }

    std::string name_;
    toml::table document_;
    Plan plan_;
};

}  // namespace

bool Plan::Disturbs() const {
    return std::any_of(tests.begin(), tests.end(),
                       [](const PlannedTest& test) { return test.row->disturbs; });
}

Plan ReadPlan(const std::string& name, std::string_view text) {
    return Reader(name, text).Read();
}

Plan LoadPlan(const std::string& nameOrFile) {
    for (const BuiltIn& plan : kBuiltIn) {
        if (plan.name == nameOrFile) {
            return ReadPlan(nameOrFile, *plan.text);
        }
    }
    std::ifstream file(nameOrFile);
    std::string text(kLargestPlan + 1, '\0');
    file.read(text.data(), static_cast<std::streamsize>(text.size()));
    if (file.bad() || !file.is_open() || (file.gcount() == 0 && !file.eof())) {
        throw PlanError(
            nameOrFile +
            ": no plan is called so, and no file can be read; the plans are prolog, check, "
            "standard and thorough");
    }
    text.resize(static_cast<std::size_t>(file.gcount()));
    if (text.size() > kLargestPlan) {
        throw PlanError(nameOrFile + ": is no plan: it is larger than 1 MiB");
    }
    return ReadPlan(nameOrFile, text);
}

std::vector<std::string> BuiltInPlans() {
    std::vector<std::string> names;
    for (const BuiltIn& plan : kBuiltIn) {
        names.emplace_back(plan.name);
    }
    return names;
}

}  // namespace zelhealth
