// What run and check have in common: asking the cards of this host, with all that is written of it.
#pragma once

#include <cstdio>
#include <filesystem>
#include <functional>
#include <memory>
#include <vector>

#include "cli/RunOptions.h"
#include "record/Record.h"
#include "record/Stream.h"

namespace zelhealth {

// Where people read: where a stream or a report goes to standard output, nothing else may.
std::FILE* OutputBeside(const RunOptions& options);

// The status of a command whose last words went there.
int Told(std::FILE* out, int status);

// Throws Unanswerable when outputs cannot all be written.
void ExpectNoClash(const RunOptions& options);

// The stream that is wished for; null for none. Throws Unanswerable when it cannot be opened.
std::unique_ptr<Stream> OpenStream(const RunOptions& options);

// The status of a run whose stream is to be whole; `tell` gets why it is not.
int Closed(Stream& stream, int status, const std::function<void(const std::string&)>& tell);

// The records of the last check of this host.
std::filesystem::path StoredCheck();

// The answer for some cards is none for all, and that of another tool or plan is none for this.
bool IsThatOfThisHost(const RunOptions& options);

// With the reports and the stream that every run writes where it tells of all cards of this host.
RunDefaults DefaultsFor(const RunOptions& options, RunDefaults defaults);

// Runs with the readers that the stream is to have too, and gives the status. `over` is behind the run, in front of
// what may be told of its outputs; `finished` behind all. `tell` gets what makes the run's answer none.
int RunWith(const RunOptions& options, const Configuration& configuration,
            const std::vector<RecordReader*>& readers, const std::function<void()>& over,
            const std::function<void()>& finished,
            const std::function<void(const std::string&)>& tell);

// Gives the command's status, 3 where it throws Unanswerable, which is told.
int Answer(const std::function<int()>& command);

}  // namespace zelhealth
