// Reads waivers and finds the one for a failure.
#include "host/Waivers.h"

#include <fmt/format.h>

#include <algorithm>
#include <stdexcept>
#include <string_view>

#include "catalogue/Catalogue.h"
#include "host/TomlFile.h"

namespace zelhealth {

namespace {

using std::chrono::system_clock;

std::string DayText(std::chrono::sys_days day) {
    const std::chrono::year_month_day date(day);
    return fmt::format("{:04}-{:02}-{:02}", int(date.year()), unsigned(date.month()),
                       unsigned(date.day()));
}

// "*", a name, or a group with all its tests: "pcie.*".
bool Matches(std::string_view pattern, std::string_view name) {
    if (pattern == "*")
        return true;
    if (pattern.ends_with(".*"))
        return name.starts_with(pattern.substr(0, pattern.size() - 1));
    return pattern == name;
}

std::chrono::sys_days ReadDay(const TomlTable& table) {
    const toml::date date = table.Date("until");
    const std::chrono::year_month_day day(
        std::chrono::year(date.year), std::chrono::month(date.month), std::chrono::day(date.day));
    return day;
}

Waiver ReadWaiver(const TomlTable& table) {
    table.Expect({"card", "test", "until", "why"});
    Waiver waiver{.card = table.Text("card"),
                  .test = table.Text("test"),
                  .until = ReadDay(table),
                  .why = table.Text("why")};
    const auto& tests = Catalogue::BuiltIn().Tests();
    if (std::none_of(tests.begin(), tests.end(),
                     [&waiver](const TestRow& row) { return Matches(waiver.test, row.Id()); }))
        table.Fail("test",
                   "names no test; it takes one such as \"pcie.vlw\", \"pcie.*\", or \"*\"");
    if (waiver.why.empty())
        table.Fail("why", "must say why");
    return waiver;
}

}  // namespace

bool Waiver::Expired(system_clock::time_point now) const {
    return std::chrono::floor<std::chrono::days>(now) > until;
}

std::string Waiver::Text(system_clock::time_point now) const {
    return fmt::format("{} {}: {}", Expired(now) ? "waiver expired on" : "waived until",
                       DayText(until), why);
}

Waivers Waivers::Load(const std::filesystem::path& file) {
    return Read(TomlFile::Load(file));
}

Waivers Waivers::Read(const TomlFile& text) {
    Waivers loaded;
    text.Root().Expect({"waiver"});
    for (const TomlTable& table : text.Root().Tables("waiver"))
        loaded.waivers_.push_back(ReadWaiver(table));
    return loaded;
}

const Waiver* Waivers::Find(const std::string& card, const std::string& pcie,
                            const std::string& test, system_clock::time_point now) const {
    const Waiver* found = nullptr;
    for (const Waiver& waiver : waivers_) {
        const bool itsCard = waiver.card == "*" || waiver.card == card || waiver.card == pcie;
        if (itsCard && Matches(waiver.test, test) && (found == nullptr || found->Expired(now)))
            found = &waiver;
    }
    return found;
}

}  // namespace zelhealth
