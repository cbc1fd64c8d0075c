// Linked into a card's DMA program, kills it before one of its calls of the library: that with the number
// in DIES_BEFORE_CALL, counted from 1. It prints the call's name and which of that name it is.
#include <sys/types.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>

#include "vorl.h"

namespace {

void Enter(const std::string& call) {
    static const char* const variable = std::getenv("DIES_BEFORE_CALL");
    static const int fatal = variable == nullptr ? 0 : std::atoi(variable);
    static int number = 0;
    static std::map<std::string, int> counts;
    ++counts[call];
    if (++number != fatal)
        return;
    std::printf("%s %d", call.c_str(), counts[call]);
    std::fflush(stdout);
    std::raise(SIGKILL);
}

}  // namespace

// The linker asks for these names.
// NOLINTBEGIN(bugprone-reserved-identifier, bugprone-macro-parentheses)
#define DIES_BEFORE(result, call, parameters, arguments) \
    result __real_##call parameters;                     \
    result __wrap_##call parameters {                    \
        Enter(#call);                                    \
        return __real_##call arguments;                  \
    }

extern "C" {

DIES_BEFORE(int, vorl_open, (), ())
DIES_BEFORE(int, vorl_bind, (int epd, U16 port), (epd, port))
DIES_BEFORE(int, vorl_connect, (int epd, vorl_portID* peer), (epd, peer))
DIES_BEFORE(off_t, vorl_register,
            (int epd, void* memory, size_t bytes, off_t offset, int protection, int flags),
            (epd, memory, bytes, offset, protection, flags))
DIES_BEFORE(int, vorl_unregister, (int epd, off_t offset, size_t bytes), (epd, offset, bytes))
DIES_BEFORE(int, vorl_send, (int epd, void* message, int bytes, int flags),
            (epd, message, bytes, flags))
DIES_BEFORE(int, vorl_recv, (int epd, void* message, int bytes, int flags),
            (epd, message, bytes, flags))
DIES_BEFORE(int, vorl_fence_mark, (int epd, int flags, int* mark), (epd, flags, mark))
DIES_BEFORE(int, vorl_fence_wait, (int epd, int mark), (epd, mark))

}  // extern "C"

#undef DIES_BEFORE
// NOLINTEND(bugprone-reserved-identifier, bugprone-macro-parentheses)
