// The point that every function that can fail goes through.
#pragma once

#include "Injection.h"

namespace sweep {

// The record of this run; null in a process that is not the tool.
Injection* Run();

// Counts one more of `kind`; true when it is this one's turn to fail. `what` says what it is.
bool Fails(Kind kind, const char* what);

// The same for memory, which has no other name than its size.
bool FailsAllocation(std::size_t bytes);

// Notes who asked for a block, in a run in which nothing fails, and forgets it when it is freed.
void NoteAllocation(void* memory, std::size_t bytes);
void NoteFree(void* memory);

// What is left as the process ends.
void RecordEnd();

}  // namespace sweep
