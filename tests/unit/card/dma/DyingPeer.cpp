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
// NOLINTBEGIN(bugprone-reserved-identifier)
#define VORL_CALL(fault, failed, result, name, parameters, arguments, told) \
    result __real_##name parameters;                                        \
    result __wrap_##name parameters {                                       \
        Enter(#name);                                                       \
        return __real_##name arguments;                                     \
    }
extern "C" {
#include "Calls.def"
}
// NOLINTEND(bugprone-reserved-identifier)
