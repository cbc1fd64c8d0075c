// The tables of the history, and how a file of an older release becomes one of this. docs/man/zelhealth.8 tells
// operators what the tables hold, who may ask them what zelhealth does not.
#pragma once

#include <SQLiteCpp/Database.h>

#include <span>
#include <stdexcept>
#include <string_view>

namespace zelhealth {

// The file, which the text names, has been written by a later release, which this one does not understand.
class NewerHistory : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Each step's statements make the tables of a release out of those of the one before; the first makes them out of
// nothing. Steps are only ever added.
std::span<const std::string_view> HistorySteps();

// Does the steps that the file, which knows its own version, does not have behind it: all of them, or none. Throws
// NewerHistory, and SQLite::Exception.
void Migrate(SQLite::Database& database, std::span<const std::string_view> steps);

}  // namespace zelhealth
