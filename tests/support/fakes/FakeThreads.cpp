// Replaces the functions at link time: definitions in the program come before those of libc, and of a
// sanitizer, which are called from here.
#include "FakeThreads.h"

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sched.h>

#include <atomic>
#include <cerrno>
#include <new>

namespace fakes {

namespace {

// One function: the original, and the failure that is to come. The replacements take no locks and
// hold nothing, because a thread may be cancelled in them.
template <typename Function>
struct Replaced {
    explicit Replaced(const char* functionName)
        : name(functionName),
          original(reinterpret_cast<Function*>(dlsym(RTLD_NEXT, functionName))) {}

    int Failure() {
        if (error == 0)
            return 0;
        if (skip > 0) {
            --skip;
            return 0;
        }
        return error.exchange(0);
    }

    const char* const name;
    Function* const original;
    std::atomic<int> error{0};
    std::atomic<unsigned> skip{0};
};

using Create = int(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
using Join = int(pthread_t, void**);
using Detach = int(pthread_t);
using Cancel = int(pthread_t);
using SetCancel = int(int, int*);

struct Functions {
    Replaced<Create> create{"pthread_create"};
    Replaced<Join> join{"pthread_join"};
    Replaced<Detach> detach{"pthread_detach"};
    Replaced<Cancel> cancel{"pthread_cancel"};
    Replaced<SetCancel> setCancelType{"pthread_setcanceltype"};
    Replaced<SetCancel> setCancelState{"pthread_setcancelstate"};

    template <typename Action>
    void ForEach(Action action) {
        action(create);
        action(join);
        action(detach);
        action(cancel);
        action(setCancelType);
        action(setCancelState);
    }
};

Functions& All() {
    static Functions* const functions =
        new Functions;  // outlives every static object of the program
    return *functions;
}

// Threads that were started and have not ended. The kernel's own list is no help: a sanitizer has
// threads there, and an ended thread stays a while.
std::atomic<unsigned> running{0};

std::atomic<unsigned> owned{0};

struct Counted {
    ~Counted() { --running; }
};

struct Start {
    void* (*function)(void*);
    void* argument;
};

// Counts down at the thread's end, also when it is cancelled.
void* Run(void* argument) {
    const Start start = *static_cast<Start*>(argument);
    delete static_cast<Start*>(argument);
    static thread_local Counted counted;
    (void)&counted;
    return start.function(start.argument);
}

// Looked up before any thread could be cancelled in the middle of it.
__attribute__((constructor)) void LookUp() {
    All();
}

}  // namespace

FakeThreads& Threads() {
    static FakeThreads threads;
    return threads;
}

void FakeThreads::Fail(const std::string& function, int error, unsigned skip) {
    bool found = false;
    All().ForEach([&](auto& replaced) {
        if (function != replaced.name)
            return;
        found = true;
        replaced.skip = skip;
        replaced.error = error;
    });
    EXPECT_TRUE(found) << function << " is not replaced";
}

unsigned FakeThreads::Count() {
    return running;
}

unsigned FakeThreads::CountOwned() {
    return owned;
}

void FakeThreads::AwaitCount(unsigned count) {
    while (Count() != count) {
        sched_yield();
    }
}

void FakeThreads::Reset() {
    All().ForEach([](auto& replaced) {
        replaced.error = 0;
        replaced.skip = 0;
    });
}

void FakeThreads::Verify() {
    All().ForEach([](auto& replaced) {
        EXPECT_EQ(replaced.error, 0) << replaced.name << " was to fail and did not";
    });
}

}  // namespace fakes

// libc declares its parameters with reserved names.
// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name)
extern "C" {

int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*function)(void*),
                   void* argument) {
    auto& replaced = fakes::All().create;
    int error = replaced.Failure();
    if (error != 0)
        return error;
    auto* const start = new (std::nothrow) fakes::Start{function, argument};
    if (start == nullptr)
        return EAGAIN;
    ++fakes::running;
    error = replaced.original(thread, attributes, fakes::Run, start);
    if (error != 0) {
        --fakes::running;
        delete start;
        return error;
    }
    ++fakes::owned;
    return 0;
}

int pthread_join(pthread_t thread, void** result) {
    auto& replaced = fakes::All().join;
    int error = replaced.Failure();
    if (error == 0)
        error = replaced.original(thread, result);
    if (error == 0)
        --fakes::owned;
    return error;
}

int pthread_detach(pthread_t thread) {
    auto& replaced = fakes::All().detach;
    int error = replaced.Failure();
    if (error == 0)
        error = replaced.original(thread);
    if (error == 0)
        --fakes::owned;
    return error;
}

int pthread_cancel(pthread_t thread) {
    auto& replaced = fakes::All().cancel;
    const int error = replaced.Failure();
    return error != 0 ? error : replaced.original(thread);
}

int pthread_setcanceltype(int type, int* before) {
    auto& replaced = fakes::All().setCancelType;
    const int error = replaced.Failure();
    return error != 0 ? error : replaced.original(type, before);
}

int pthread_setcancelstate(int state, int* before) {
    auto& replaced = fakes::All().setCancelState;
    const int error = replaced.Failure();
    return error != 0 ? error : replaced.original(state, before);
}

}  // extern "C"
// NOLINTEND(readability-inconsistent-declaration-parameter-name)
