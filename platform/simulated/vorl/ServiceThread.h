// A thread that the library starts for itself: the process's signals go to the threads of the program.
#pragma once

#include <pthread.h>

#include <csignal>
#include <system_error>
#include <thread>
#include <utility>

namespace vorl {

class SignalsHeldOff {
public:
    SignalsHeldOff() {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &saved_);
    }
    ~SignalsHeldOff() { pthread_sigmask(SIG_SETMASK, &saved_, nullptr); }
    SignalsHeldOff(const SignalsHeldOff&) = delete;
    SignalsHeldOff& operator=(const SignalsHeldOff&) = delete;

private:
    sigset_t saved_;
};

// Throws std::system_error or std::bad_alloc when there is no room for another thread.
template <typename Body>
std::thread StartServiceThread(Body body) {
    const SignalsHeldOff held;
    return std::thread(std::move(body));
}

}  // namespace vorl
