// Finds damage in the history before somebody asks for what it was.
#pragma once

#include <SQLiteCpp/Database.h>

#include <cstdint>

namespace zelhealth {

// Behind a run that has ended: looks through the pages of the file, unless one of the day has done so. A large file
// takes seconds; a run that was shorter than that leaves it to a longer one. Throws SQLite::Exception, which IsDamage
// knows where the pages are not sound.
void LookOnceADay(SQLite::Database& database, std::int64_t run);

}  // namespace zelhealth
