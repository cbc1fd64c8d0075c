#include "report/PageData.h"

#include <algorithm>
#include <chrono>
#include <map>

#include "catalogue/Catalogue.h"
#include "host/Printable.h"
#include "host/UtcTime.h"

namespace zelhealth {

namespace {

// Of what is left for failures and names of hosts.
constexpr std::size_t kShareOfNames = 4;

// In the catalogue's order; what it does not have comes last.
void SortTests(std::vector<std::string>& tests) {
    std::map<std::string, std::size_t> places;
    for (const TestRow& row : Catalogue::BuiltIn().Tests()) {
        places.emplace(row.Id(), places.size());
    }
    const auto place = [&places](const std::string& test) {
        const auto known = places.find(test);
        return std::pair(known == places.end() ? places.size() : known->second, test);
    };
    std::sort(tests.begin(), tests.end(),
              [&place](const auto& one, const auto& other) { return place(one) < place(other); });
}

Json Counts(const VerdictCounts& counts) {
    Json object = Json::object();
    for (std::size_t i = 0; i < counts.size(); ++i) {
        object[std::string(kRunVerdicts[i])] = counts[i];
    }
    return object;
}

Json Matrix(const Json& rows) {
    if (rows.is_null()) {
        return nullptr;
    }
    std::vector<std::string> tests;
    for (const Json& row : rows) {
        for (const auto& [test, cell] : row["tests"].items()) {
            if (std::find(tests.begin(), tests.end(), test) == tests.end()) {
                tests.push_back(test);
            }
        }
    }
    SortTests(tests);
    Json shown = Json::array();
    for (Json row : rows) {
        Json cells = Json::array();
        for (const std::string& test : tests) {
            cells.push_back(row["tests"].value(test, Json()));
        }
        row.erase("tests");
        row["cells"] = cells;
        shown.push_back(row);
    }
    return {{"tests", tests}, {"rows", shown}};
}

Json Times(const Summary& summary) {
    std::vector<std::string> tests;
    for (const auto& [test, durations] : summary.Times()) {
        tests.push_back(test);
    }
    SortTests(tests);
    Json times = Json::array();
    for (const std::string& test : tests) {
        const Durations& durations = summary.Times().at(test);
        times.push_back({{"test", test},
                         {"fastest", durations.Fastest()},
                         {"median", durations.Median()},
                         {"slowest", durations.Slowest()}});
    }
    return times;
}

Json Base(const Summary& summary, const Problems& problems, const Json& rows, const Json& fleet) {
    Json brokenOff = Json::array();
    for (const BrokenOff& run : summary.BrokenOffRuns()) {
        brokenOff.push_back({{"host", run.host}, {"run", run.run}, {"last", run.last}});
    }
    Json tests = Json::object();
    for (const auto& [verdict, count] : summary.Tests()) {
        tests[verdict] = count;
    }
    return {{"made", UtcText(std::chrono::system_clock::now())},
            {"program", "zelhealth " ZELHEALTH_VERSION},
            {"problems", {{"count", problems.count}, {"texts", problems.texts}}},
            {"counts",
             {{"runs", summary.Runs()},
              {"brokenOff", summary.BrokenOffCount()},
              {"hosts", Counts(summary.Hosts())},
              {"cards", Counts(summary.Cards())},
              {"tests", tests}}},
            {"brokenOff", brokenOff},
            {"matrix", Matrix(rows)},
            {"fleet", fleet},
            {"times", Times(summary)},
            {"groups", Json::array()},
            {"incidents", Json::array()}};
}

// What is left of a number of bytes.
class Room {
public:
    explicit Room(std::size_t bytes) : bytes_(bytes) {}

    bool Take(const Json& value) {
        const std::size_t size = ForPage(value).size() + 1;
        const bool fits = size <= bytes_;
        bytes_ -= fits ? size : 0;
        return fits;
    }

    std::size_t Left() const { return bytes_; }

private:
    std::size_t bytes_;
};

Json GroupOf(const Summary& summary, const FailureGroup& group, Room& names) {
    Json hosts = Json::array();
    for (const std::uint32_t host : group.hosts) {
        if (!names.Take(summary.HostName(host))) {
            break;
        }
        hosts.push_back(summary.HostName(host));
    }
    return {{"status", static_cast<int>(group.status)},
            {"verdict", group.verdict},
            {"text", group.text},
            {"means", group.means},
            {"next", group.next},
            {"count", group.count},
            {"tests", group.tests},
            {"hostCount", group.hosts.size()},
            {"hosts", hosts}};
}

Json IncidentOf(const Summary& summary, const Incident& incident, std::size_t group) {
    Json shown = {{"g", group},
                  {"host", summary.HostName(incident.host)},
                  {"run", incident.run},
                  {"time", incident.time},
                  {"card", incident.card},
                  {"test", incident.test},
                  {"seconds", incident.seconds}};
    if (!incident.note.empty()) {
        shown["note"] = incident.note;
    }
    if (!incident.mend.empty()) {
        shown["mend"] = incident.mend;
    }
    return shown;
}

}  // namespace

std::string ForPage(const Json& value) {
    std::string text;
    for (const char c : Line(value)) {
        text += c == '<' ? std::string("\\u003c") : std::string(1, c);
    }
    return text;
}

Json RowsOf(const RunName& name, const RunEnd& end, const Cells& cells) {
    Json rows = Json::array();
    for (const CardCells& card : cells.Cards()) {
        const bool ended = !card.verdict.empty() && (end.Finished() || card.verdict == "failed");
        Json tests = Json::object();
        for (const auto& [test, cell] : card.tests) {
            tests[test] = {cell.verdict, cell.seconds, cell.times};
        }
        rows.push_back({{"host", ShortName(name.host)},
                        {"run", ShortName(name.run)},
                        {"card", card.card},
                        {"pcie", card.pcie},
                        {"uuid", card.uuid},
                        {"generation", card.generation},
                        {"memory", card.memoryBytes},
                        {"verdict", ended ? card.verdict : "broken_off"},
                        {"seconds", card.seconds},
                        {"tests", tests}});
    }
    return rows;
}

std::string PageData(const Summary& summary, const Problems& problems, const Json& rows,
                     const Json& fleet, std::size_t bytes) {
    Json data = Base(summary, problems, rows, fleet);
    const std::size_t base = ForPage(data).size();
    Room room(bytes - std::min(bytes, base));
    Room names(room.Left() / kShareOfNames);
    std::vector<const Incident*> shown;
    for (const FailureGroup* const group : summary.WorstFirst()) {
        const std::size_t place = data["groups"].size();
        Json told = GroupOf(summary, *group, names);
        room.Take(told);
        data["groups"].push_back(std::move(told));
        const std::uint32_t index = summary.IndexOf(*group);
        for (const Incident& incident : summary.Incidents()) {
            Json full = incident.group == index ? IncidentOf(summary, incident, place) : Json();
            if (!full.is_null() && room.Take(full)) {
                data["incidents"].push_back(std::move(full));
                shown.push_back(&incident);
            }
        }
    }
    for (std::size_t i = 0; i < shown.size(); ++i) {
        for (const auto& [name, lines] :
             {std::pair("out", &shown[i]->out), {"err", &shown[i]->err}}) {
            if (!lines->empty() && room.Take(*lines)) {
                data["incidents"][i][name] = *lines;
            }
        }
    }
    return ForPage(data);
}

}  // namespace zelhealth
