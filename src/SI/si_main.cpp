// System services: memory and the end of the process.
#include "SI/si_main.h"

#include <cstdlib>

void ssExitTask(int status) {
    std::exit(status);
}

void* ssMemAlloc(int size) {
    return size < 0 ? nullptr : std::malloc(static_cast<std::size_t>(size));
}

void ssFreeMem(void* memory) {
    std::free(memory);
}

ssText ssTextAlloc(int size) {
    return ssText(static_cast<char*>(ssMemAlloc(size)));
}
