// Reads zelhealth.toml.
#include "host/Configuration.h"

#include <algorithm>

#include "catalogue/Catalogue.h"
#include "host/TomlFile.h"

namespace zelhealth {

namespace {

// A file that every run writes, wherever it is started.
std::optional<std::string> ReadPath(const TomlTable& table, const char* key) {
    if (!table.Has(key))
        return std::nullopt;
    std::string path = table.Text(key);
    if (!path.starts_with('/'))
        table.Fail(key, "takes a file's whole path, which begins with /");
    return path;
}

RunDefaults ReadDefaults(const TomlTable& table, const std::string& ownKey) {
    table.Expect({ownKey, "jobs", "deadline", "wait", "output", "html", "junit", "metrics", "csv"});
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
    defaults.output = ReadPath(table, "output");
    defaults.reports.html = ReadPath(table, "html");
    defaults.reports.junit = ReadPath(table, "junit");
    defaults.reports.metrics = ReadPath(table, "metrics");
    defaults.reports.csv = ReadPath(table, "csv");
    return defaults;
}

void ReadHistory(const TomlTable& table, Configuration& configuration) {
    constexpr int kLongestDays = 36500;
    constexpr int kMostMegabytes = 1000000;
    constexpr std::uint64_t kMegabyte = 1000000;
    table.Expect({"store", "days", "megabytes"});
    if (table.Has("store"))
        configuration.storesHistory = table.Flag("store");
    if (table.Has("days"))
        configuration.history.age = std::chrono::days(table.Count("days", 1, kLongestDays));
    if (table.Has("megabytes"))
        configuration.history.bytes =
            static_cast<std::uint64_t>(table.Count("megabytes", 1, kMostMegabytes)) * kMegabyte;
}

std::vector<std::string> TestNames() {
    std::vector<std::string> names;
    for (const TestRow& row : Catalogue::BuiltIn().Tests())
        names.push_back(row.Id());
    return names;
}

}  // namespace

Configuration Configuration::Load(const std::filesystem::path& file) {
    return Read(TomlFile::Load(file));
}

Configuration Configuration::Read(const TomlFile& text) {
    Configuration configuration;
    const TomlTable root = text.Root();
    root.Expect({"busy", "expect_cards", "run", "check", "deadlines", "history", "journal"});
    if (root.Has("busy"))
        configuration.busy = root.Text("busy");
    if (root.Has("expect_cards"))
        configuration.expectedCards = root.Count("expect_cards", 0, kMostCards);
    if (const auto table = root.Table("run"))
        configuration.run = ReadDefaults(*table, "plan");
    if (const auto table = root.Table("check"))
        configuration.check = ReadDefaults(*table, "max_age");
    if (const auto table = root.Table("history"))
        ReadHistory(*table, configuration);
    if (const auto table = root.Table("journal")) {
        table->Expect({"send"});
        configuration.sendsToJournal = !table->Has("send") || table->Flag("send");
    }
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
