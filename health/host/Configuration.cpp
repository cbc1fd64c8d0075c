// Reads zelhealth.toml.
#include "host/Configuration.h"

#include <algorithm>

#include "catalogue/Catalogue.h"
#include "host/TomlFile.h"

namespace zelhealth {

namespace {

RunDefaults ReadDefaults(const TomlTable& table, const std::string& ownKey) {
    table.Expect({ownKey, "jobs", "deadline", "wait", "output"});
    RunDefaults defaults;
    if (table.Has("plan"))
        defaults.plan = table.Text("plan");
    if (table.Has("jobs"))
        defaults.jobs = table.Count("jobs", 1, kMostCards);
    if (table.Has("deadline"))
        defaults.deadline = table.Number("deadline", kLeastDeadline, kLongestSeconds);
    if (table.Has("wait"))
        defaults.wait = table.Number("wait", 0, kLongestSeconds);
    if (table.Has("max_age"))
        defaults.maxAge = table.Number("max_age", 0, kLongestSeconds);
    if (table.Has("output"))
        defaults.output = table.Text("output");
    if (defaults.output && !defaults.output->starts_with('/'))
        table.Fail("output", "takes a file's whole path, which begins with /");
    return defaults;
}

std::vector<std::string> TestNames() {
    std::vector<std::string> names;
    for (const TestRow& row : Catalogue::BuiltIn().Tests())
        names.push_back(row.Id());
    return names;
}

}  // namespace

Configuration Configuration::Load(const std::filesystem::path& file) {
    Configuration configuration;
    const TomlFile text = TomlFile::Load(file);
    const TomlTable root = text.Root();
    root.Expect({"busy", "expect_cards", "run", "check", "deadlines"});
    if (root.Has("busy"))
        configuration.busy = root.Text("busy");
    if (root.Has("expect_cards"))
        configuration.expectedCards = root.Count("expect_cards", 0, kMostCards);
    if (const auto table = root.Table("run"))
        configuration.run = ReadDefaults(*table, "plan");
    if (const auto table = root.Table("check"))
        configuration.check = ReadDefaults(*table, "max_age");
    if (const auto table = root.Table("deadlines")) {
        table->Expect(TestNames());
        for (const std::string& test : table->Keys()) {
            const double seconds = table->Number(test, kLeastDeadline, kLongestSeconds);
            configuration.deadlines[test] = std::chrono::ceil<std::chrono::milliseconds>(
                std::chrono::duration<double>(seconds));
        }
    }
    return configuration;
}

}  // namespace zelhealth
