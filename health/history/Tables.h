// Puts the records of a run into the tables of the history.
#pragma once

#include <SQLiteCpp/Database.h>
#include <SQLiteCpp/Statement.h>

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <utility>

#include "record/Record.h"

namespace zelhealth {

class Tables {
public:
    // The run whose first record this is; its row is made where there is none.
    Tables(SQLite::Database& database, const Json& runStarted);

    // Any other record of it, or the same once more, which changes nothing. That of a test has a `number`, which
    // counts what the run does more than once. Each is on its own: what was stored before stays when the next
    // cannot be. Throws SQLite::Exception.
    void Write(const Json& record);

    SQLite::Database& Database() { return database_; }

    // Its row.
    std::int64_t Run() const { return run_; }

private:
    using Id = std::int64_t;

    Id CardOf(const Json& record);
    Id TestOf(const Json& record);
    void WriteTest(const Json& record);
    void EndCard(const Json& record);
    void EndRun(const Json& record);

    SQLite::Database& database_;
    Id run_ = 0;
    std::map<std::string, Id, std::less<>> cards_;             // by "zel0"
    std::map<std::pair<std::string, std::string>, Id> tests_;  // by name and options
    SQLite::Statement result_;
};

}  // namespace zelhealth
