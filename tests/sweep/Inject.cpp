// Counts what can fail in the tool, and lets one of it fail. Preloaded; does nothing in the programs
// that the tool starts.
#include "Inject.h"

#include <execinfo.h>
#include <fcntl.h>
#include <link.h>
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

// Where the tool's executable lies in memory.
struct Executable {
    std::uintptr_t base = 0;
    std::uintptr_t end = 0;

    bool Holds(std::uintptr_t address) const { return address >= base && address < end; }
};
Executable executable;

// The executable is the first object in the loader's list.
int TakeExecutable(dl_phdr_info* object, std::size_t /*size*/, void* /*unused*/) {
    executable.base = object->dlpi_addr;
    for (int i = 0; i < object->dlpi_phnum; ++i) {
        const auto& segment = object->dlpi_phdr[i];
        if (segment.p_type == PT_LOAD)
            executable.end = object->dlpi_addr + segment.p_vaddr + segment.p_memsz;
    }
    return 1;
}

// The walk over the callers may allocate, which is not the tool's doing.
thread_local bool walking = false;

void RecordSite() {
    void* callers[kDepth];
    walking = true;
    const int depth = backtrace(callers, kDepth);
    walking = false;
    std::size_t count = 0;
    for (int i = 0; i < depth; ++i) {
        const auto address = reinterpret_cast<std::uintptr_t>(callers[i]);
        if (executable.Holds(address))
            run->site[count++] = address - executable.base;
    }
}

int OpenDescriptors() {
    constexpr int kMany = 1024;
    int open = 0;
    for (int file = 0; file < kMany; ++file)
        open += fcntl(file, F_GETFD) >= 0 ? 1 : 0;
    return open;
}

// From here on everything counts, static objects of the tool and its libraries included.
__attribute__((constructor(101))) void Begin() {
    const char* const path = std::getenv(kVariable);
    if (path == nullptr || std::strcmp(program_invocation_short_name, "ZelDiag") != 0)
        return;
    dl_iterate_phdr(TakeExecutable, nullptr);
    // The first walk loads what later ones need.
    void* callers[kDepth];
    backtrace(callers, kDepth);
    run = Map(path);
    if (run != nullptr)
        run->openBefore = OpenDescriptors();
}

// Comes after the destructors of the tool and its libraries, when they come at all.
__attribute__((destructor(101))) void End() {
    if (run == nullptr)
        return;
    run->tidied = 1;
    RecordEnd();
}

bool IsItsTurn(Kind kind) {
    if (run == nullptr || walking)
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
    RecordSite();
    run->struck = 1;
    return true;
}

bool FailsAllocation(std::size_t bytes) {
    if (!IsItsTurn(Kind::Allocation))
        return false;
    std::snprintf(run->what, sizeof run->what, "%zu bytes", bytes);
    RecordSite();
    run->struck = 1;
    return true;
}

void RecordEnd() {
    if (run != nullptr)
        run->openAfter = OpenDescriptors();
}

}  // namespace sweep
