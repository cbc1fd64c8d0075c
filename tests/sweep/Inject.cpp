// Counts what can fail in the tool, and lets one of it fail. Preloaded; does nothing in the programs
// that the tool starts.
#include "Inject.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace sweep {

namespace {

Injection* run = nullptr;

Injection* Map(const char* path) {
    const int file = open(path, O_RDWR | O_CLOEXEC);
    if (file < 0)
        return nullptr;
    void* const memory =
        mmap(nullptr, sizeof(Injection), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    close(file);
    return memory == MAP_FAILED ? nullptr : static_cast<Injection*>(memory);
}

// From here on everything counts, static objects of the tool and its libraries included.
__attribute__((constructor(101))) void Begin() {
    const char* const path = std::getenv(kVariable);
    if (path == nullptr || std::strcmp(program_invocation_short_name, "ZelDiag") != 0)
        return;
    run = Map(path);
}

// Comes after the destructors of the tool and its libraries, when they come at all.
__attribute__((destructor(101))) void End() {
    if (run != nullptr)
        run->tidied = 1;
}

bool IsItsTurn(Kind kind) {
    if (run == nullptr)
        return false;
    const std::uint64_t number = ++run->counts[static_cast<std::size_t>(kind)];
    return run->kind == kind && run->at == number;
}

}  // namespace

Injection* Run() {
    return run;
}

bool Fails(Kind kind, const char* what) {
    if (!IsItsTurn(kind))
        return false;
    std::strncpy(run->what, what, sizeof run->what - 1);
    run->struck = 1;
    return true;
}

bool FailsAllocation(std::size_t bytes) {
    if (!IsItsTurn(Kind::Allocation))
        return false;
    std::snprintf(run->what, sizeof run->what, "%zu bytes", bytes);
    run->struck = 1;
    return true;
}

}  // namespace sweep
