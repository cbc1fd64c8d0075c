// Linked into a card's DMA program, ends it in the middle of the exchange as a crash would: the
// accepting one where it is to read the host's reply, the connecting one where it is to wait for what
// the host has written.
#include <sys/types.h>

#include <csignal>
#include <cstdlib>

namespace {

[[noreturn]] void Die() {
    std::raise(SIGKILL);
    std::abort();
}

}  // namespace

// The linker asks for these names.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" {

int __wrap_vorl_readfrom(int /*epd*/, off_t /*local*/, size_t /*len*/, off_t /*remote*/,
                         int /*flags*/) {
    Die();
}

int __wrap_vorl_fence_mark(int /*epd*/, int /*flags*/, int* /*mark*/) {
    Die();
}

}  // extern "C"
// NOLINTEND(bugprone-reserved-identifier)
