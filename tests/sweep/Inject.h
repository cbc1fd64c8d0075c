// The point that every function that can fail goes through.
#pragma once

#include "Injection.h"

namespace sweep {

// The record of this run; null in a process that is not the tool.
Injection* Run();

// Counts one more of `kind`; true when it is this one's turn to fail. `what` says what it is.
bool Fails(Kind kind, const char* what);

// The same for memory. It is named by who asks for it: an operation of a platform library, by its name,
// and else the library or program, by its file's.
bool FailsAllocation();

// This thread runs an operation of a platform library as long as it lives.
class InCall {
public:
    explicit InCall(const char* name);
    ~InCall();
    InCall(const InCall&) = delete;
    InCall& operator=(const InCall&) = delete;

private:
    const char* const outer_;
};

// Notes who asked for a block, in a run in which nothing fails, and forgets it when it is freed.
void NoteAllocation(void* memory, std::size_t bytes);
void NoteFree(void* memory);

// What is left as the process ends.
void RecordEnd();

}  // namespace sweep
