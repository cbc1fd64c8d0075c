// The system's own operations that can fail: commands, threads, memory. And those that tell how long a
// run takes and what it leaves.
#include <dlfcn.h>
#include <pthread.h>
#include <spawn.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstdlib>

#include "Inject.h"

namespace {

template <typename Function>
Function* Real(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

// The command that is to end with status 1.
FILE* spoiled = nullptr;
constexpr int kEndedWithOne = 1 << 8;

}  // namespace

// libc declares its parameters with reserved names.
// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name)
extern "C" {

FILE* popen(const char* command, const char* mode) {
    using sweep::Kind;
    static const auto real = Real<FILE*(const char*, const char*)>("popen");
    if (sweep::Fails(Kind::Command, command)) {
        errno = EMFILE;
        return nullptr;
    }
    const bool silent = sweep::Fails(Kind::Silence, command);
    FILE* const stream = real(command, mode);
    if (sweep::Fails(Kind::Status, command))
        spoiled = stream;
    if (silent && stream != nullptr) {
        while (std::fgetc(stream) != EOF) {
        }
    }
    return stream;
}

int pclose(FILE* stream) {
    static const auto real = Real<int(FILE*)>("pclose");
    const bool fails = stream == spoiled && stream != nullptr;
    if (fails)
        spoiled = nullptr;
    const int status = real(stream);
    return fails ? kEndedWithOne : status;
}

int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*function)(void*),
                   void* argument) {
    using Create = int(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
    static const auto real = Real<Create>("pthread_create");
    return sweep::Fails(sweep::Kind::Thread, "pthread_create")
               ? EAGAIN
               : real(thread, attributes, function, argument);
}

int posix_spawn(pid_t* pid, const char* path, const posix_spawn_file_actions_t* actions,
                const posix_spawnattr_t* attributes, char* const* words, char* const* variables) {
    using Spawn = int(pid_t*, const char*, const posix_spawn_file_actions_t*,
                      const posix_spawnattr_t*, char* const*, char* const*);
    static const auto real = Real<Spawn>("posix_spawn");
    return sweep::Fails(sweep::Kind::Command, "posix_spawn")
               ? EAGAIN
               : real(pid, path, actions, attributes, words, variables);
}

unsigned sleep(unsigned seconds) {
    static const auto real = Real<unsigned(unsigned)>("sleep");
    if (sweep::Run() != nullptr)
        sweep::Run()->slept += seconds;
    return real(seconds);
}

// How a process ends that leaves its static objects to a thread which runs on.
void _exit(int status) {
    static const auto real = Real<void(int)>("_exit");
    sweep::RecordEnd();
    real(status);
    __builtin_unreachable();
}

#ifdef ZEL_SWEEP_MEMORY

// glibc's allocator under its own names: looking it up would need memory.
void* __libc_malloc(std::size_t bytes);
void* __libc_calloc(std::size_t count, std::size_t bytes);
void* __libc_realloc(void* memory, std::size_t bytes);
void* __libc_memalign(std::size_t alignment, std::size_t bytes);
void __libc_free(void* memory);

namespace {

bool OutOfMemory() {
    if (!sweep::FailsAllocation())
        return false;
    errno = ENOMEM;
    return true;
}

void* CountedBlock(void* memory, std::size_t bytes) {
    if (memory != nullptr && sweep::Run() != nullptr) {
        ++sweep::Run()->blocks;
        sweep::NoteAllocation(memory, bytes);
    }
    return memory;
}

}  // namespace

void* malloc(std::size_t bytes) {
    return OutOfMemory() ? nullptr : CountedBlock(__libc_malloc(bytes), bytes);
}

void* calloc(std::size_t count, std::size_t bytes) {
    return OutOfMemory() ? nullptr : CountedBlock(__libc_calloc(count, bytes), count * bytes);
}

void* realloc(void* memory, std::size_t bytes) {
    if (OutOfMemory())
        return nullptr;
    if (memory == nullptr)
        return CountedBlock(__libc_realloc(memory, bytes), bytes);
    // Before another thread can have been given the same place.
    sweep::NoteFree(memory);
    void* const moved = __libc_realloc(memory, bytes);
    sweep::NoteAllocation(moved == nullptr ? memory : moved, bytes);
    return moved;
}

void* memalign(std::size_t alignment, std::size_t bytes) {
    return OutOfMemory() ? nullptr : CountedBlock(__libc_memalign(alignment, bytes), bytes);
}

void* aligned_alloc(std::size_t alignment, std::size_t bytes) {
    return memalign(alignment, bytes);
}

int posix_memalign(void** memory, std::size_t alignment, std::size_t bytes) {
    void* const block = memalign(alignment, bytes);
    if (block == nullptr)
        return ENOMEM;
    *memory = block;
    return 0;
}

void free(void* memory) {
    if (memory != nullptr && sweep::Run() != nullptr) {
        --sweep::Run()->blocks;
        sweep::NoteFree(memory);
    }
    __libc_free(memory);
}

#endif

}  // extern "C"
// NOLINTEND(readability-inconsistent-declaration-parameter-name)
