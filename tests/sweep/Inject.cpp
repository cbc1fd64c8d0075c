// Counts what can fail in the tool, and lets one of it fail. Preloaded; does nothing in the programs
// that the tool starts.
#include "Inject.h"

#include <dlfcn.h>
#include <execinfo.h>
#include <fcntl.h>
#include <link.h>
#include <sched.h>
#include <sys/mman.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
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

// The operation of a platform library that this thread runs.
thread_local const char* call = nullptr;

// The walk over the callers may allocate, which is not the tool's doing.
thread_local bool walking = false;

using Callers = std::array<void*, kDepth>;

// Innermost first; null behind the last.
Callers WalkCallers() {
    Callers callers{};
    walking = true;
    backtrace(callers.data(), kDepth);
    walking = false;
    return callers;
}

void TakeSite(const Callers& callers, std::array<std::uint64_t, kDepth>& site) {
    std::size_t count = 0;
    for (void* const caller : callers) {
        const auto address = reinterpret_cast<std::uintptr_t>(caller);
        if (executable.Holds(address))
            site[count++] = address - executable.base;
    }
}

void RecordSite() {
    TakeSite(WalkCallers(), run->site);
}

// The blocks that are allocated at the moment, and whether there was room to note all of them.
struct LiveBlock {
    void* memory;
    std::size_t bytes;
    Callers callers;
};
constexpr std::size_t kMostLiveBlocks = 4096;
LiveBlock live[kMostLiveBlocks];
std::size_t liveBlocks = 0;
bool noRoom = false;
std::atomic_flag liveLock = ATOMIC_FLAG_INIT;

class Locked {
public:
    Locked() {
        while (liveLock.test_and_set())
            sched_yield();
    }
    ~Locked() { liveLock.clear(); }
    Locked(const Locked&) = delete;
    Locked& operator=(const Locked&) = delete;
};

bool NotesBlocks() {
    return run != nullptr && run->at == 0 && !walking;
}

const char* FileOf(void* address) {
    Dl_info info{};
    if (dladdr(address, &info) == 0 || info.dli_fname == nullptr)
        return "?";
    const char* const slash = std::strrchr(info.dli_fname, '/');
    return slash == nullptr ? info.dli_fname : slash + 1;
}

// The first of the callers that does not only hand on what others ask for.
const char* AskingLibrary(const Callers& callers) {
    const char* const own = FileOf(reinterpret_cast<void*>(&AskingLibrary));
    for (void* const caller : callers) {
        const char* const file = caller == nullptr ? "?" : FileOf(caller);
        if (std::strcmp(file, own) != 0 && std::strncmp(file, "libstdc++.", 10) != 0)
            return file;
    }
    return "?";
}

// A block without a library stands for those that could not be noted.
void RecordKeptBlocks() {
    run->keptBlocks = noRoom || liveBlocks > kMostKeptBlocks ? 1 : 0;
    for (std::size_t i = 0; i < liveBlocks && run->keptBlocks < kMostKeptBlocks; ++i) {
        KeptBlock& kept = run->kept[run->keptBlocks++];
        kept.bytes = live[i].bytes;
        std::strncpy(kept.library, AskingLibrary(live[i].callers), sizeof kept.library - 1);
        TakeSite(live[i].callers, kept.site);
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
    RecordKeptBlocks();
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

bool FailsAllocation() {
    if (!IsItsTurn(Kind::Allocation))
        return false;
    const Callers callers = WalkCallers();
    const char* const asker = call != nullptr ? call : AskingLibrary(callers);
    std::strncpy(run->what, asker, sizeof run->what - 1);
    TakeSite(callers, run->site);
    run->struck = 1;
    return true;
}

InCall::InCall(const char* name) : outer_(call) {
    call = name;
}

InCall::~InCall() {
    call = outer_;
}

void NoteAllocation(void* memory, std::size_t bytes) {
    if (!NotesBlocks())
        return;
    const Callers callers = WalkCallers();
    const Locked locked;
    if (liveBlocks < kMostLiveBlocks)
        live[liveBlocks++] = {memory, bytes, callers};
    else
        noRoom = true;
}

void NoteFree(void* memory) {
    if (!NotesBlocks())
        return;
    const Locked locked;
    for (std::size_t i = liveBlocks; i-- > 0;) {
        if (live[i].memory == memory) {
            live[i] = live[--liveBlocks];
            return;
        }
    }
}

void RecordEnd() {
    if (run != nullptr)
        run->openAfter = OpenDescriptors();
}

}  // namespace sweep
