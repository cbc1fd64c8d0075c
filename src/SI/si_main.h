// System services: memory and the end of the process.
#pragma once

#include <memory>

[[noreturn]] void ssExitTask(int status);

// malloc and free: the caller owns the memory and must check for null.
void* ssMemAlloc(int size);
void ssFreeMem(void* memory);

struct ssMemDeleter {
    void operator()(void* memory) const { ssFreeMem(memory); }
};

// Characters from ssMemAlloc, freed with their owner.
using ssText = std::unique_ptr<char[], ssMemDeleter>;

// `size` characters, not cleared, or null when there is no memory.
ssText ssTextAlloc(int size);
