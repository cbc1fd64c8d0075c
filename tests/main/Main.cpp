// Runs the tests of a program. They start processes, signal them and wait for them: signals that the
// caller ignores or blocks, as nohup and some build servers do, would stay so in all of these.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>

namespace {

void TakeBackSignals() {
    for (int signal = 1; signal < NSIG; ++signal) {
        struct sigaction inherited {};
        if (sigaction(signal, nullptr, &inherited) == 0 && inherited.sa_handler == SIG_IGN)
            std::signal(signal, SIG_DFL);
    }
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
}

}  // namespace

int main(int argc, char** argv) {
    TakeBackSignals();
    testing::InitGoogleMock(&argc, argv);
    return RUN_ALL_TESTS();
}
