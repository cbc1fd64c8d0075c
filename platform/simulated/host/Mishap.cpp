// Calls that take time, and calls that never return.
#include "host/Mishap.h"

#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <iterator>

#include "host/HostClock.h"

namespace simulated {

namespace {

constexpr U64 kMicroseconds = 1000;

class CancellationHeldOff {
public:
    CancellationHeldOff() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &state_); }
    ~CancellationHeldOff() { pthread_setcancelstate(state_, nullptr); }
    CancellationHeldOff(const CancellationHeldOff&) = delete;
    CancellationHeldOff& operator=(const CancellationHeldOff&) = delete;

private:
    int state_ = PTHREAD_CANCEL_ENABLE;
};

// Ignored they would change how the process and its children do, and they end nothing.
constexpr int kEndNothing[] = {SIGCHLD, SIGCONT, SIGTSTP, SIGTTIN, SIGTTOU, SIGURG, SIGWINCH};

// A thread that waits in the kernel for good takes no signal. What is sent to the process would go to
// another of its threads, and end them all: so no thread takes any that ends a process.
void HoldSignalsOff() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_BLOCK, &all, nullptr);
    struct sigaction ignored {};
    ignored.sa_handler = SIG_IGN;
    for (int signal = 1; signal <= SIGRTMAX; ++signal) {
        const bool endsNothing = std::find(std::begin(kEndNothing), std::end(kEndNothing),
                                           signal) != std::end(kEndNothing);
        if (!endsNothing)
            sigaction(signal, &ignored, nullptr);
    }
}

}  // namespace

U32 Undergo(const Mishap& mishap) {
    if (mishap.blocks) {
        const CancellationHeldOff held;
        if (mishap.unending)
            HoldSignalsOff();
        for (;;)
            pause();
    }
    if (mishap.delay != 0) {
        const CancellationHeldOff held;
        SleepUntil(HostClock() + mishap.delay * kMicroseconds);
    }
    return mishap.status;
}

}  // namespace simulated
