// Records of runs, for tests of what is made of them.
#pragma once

#include <string>

#include "record/Record.h"
#include "report/Runs.h"

namespace zelhealth {

// A record of a run of a host; `fields` begins with its kind.
inline Json RecordOf(const std::string& host, const std::string& run, const Json& fields) {
    Json record = {{"record", ""},
                   {"schema", 1},
                   {"run", run},
                   {"host", host},
                   {"time", "2026-11-21T20:15:04.500Z"}};
    record.update(fields);
    return record;
}

inline Json Tested(const std::string& card, const std::string& test, const std::string& verdict,
                   const std::string& reason = "") {
    return {{"record", "test_finished"},
            {"card", card},
            {"pcie", "0000:02:00.0"},
            {"group", "pcie"},
            {"test", test},
            {"options", Json::array()},
            {"round", 1},
            {"verdict", verdict},
            {"seconds", 1.5},
            {"reason", reason},
            {"messages", reason.empty() ? Json::array() : Json::array({reason})},
            {"evidence", {{"out", {"line of " + test}}, {"err", Json::array()}}}};
}

inline Json RunStarted() {
    return {{"record", "run_started"}, {"plan", "check"}};
}

inline Json CardStarted(const std::string& card) {
    return {{"record", "card_started"},
            {"card", card},
            {"pcie", "0000:02:00.0"},
            {"memory_size", 1073741824}};
}

inline Json CardFinished(const std::string& card, const std::string& verdict,
                         const Json& reasons = Json::array()) {
    return {{"record", "card_finished"},
            {"card", card},
            {"verdict", verdict},
            {"reasons", reasons},
            {"seconds", 3}};
}

inline Json Reason(const std::string& text, int status) {
    return Json::array({{{"reason", "x"}, {"text", text}, {"status", status}}});
}

inline Json RunFinished(int status) {
    return {{"record", "run_finished"}, {"verdict", "x"}, {"status", status}, {"seconds", 7.5}};
}

// A run of one card and one test, to its end.
inline void ReadRun(Runs& runs, const std::string& host, const std::string& run, const Json& test,
                    const std::string& verdict, int status) {
    for (const Json& fields : {RunStarted(), CardStarted("zel0"), test,
                               CardFinished("zel0", verdict), RunFinished(status)}) {
        runs.Read(RecordOf(host, run, fields));
    }
}

}  // namespace zelhealth
