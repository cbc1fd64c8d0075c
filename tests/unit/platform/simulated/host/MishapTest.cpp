// Calls that take time, and calls that never return, each in a process of its own.
#include "host/Mishap.h"

#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <functional>
#include <system_error>
#include <thread>

#include "host/HostClock.h"

namespace simulated {
namespace {

// A child that does something and never ends by itself with the status 0.
class Child {
public:
    explicit Child(const std::function<void()>& body) {
        int ends[2];
        if (pipe(ends) != 0)
            throw std::system_error(errno, std::generic_category(), "pipe");
        pid_ = fork();
        if (pid_ == 0) {
            close(ends[0]);
            // Whatever the caller has it ignore or hold off.
            for (int signal = 1; signal < NSIG; ++signal)
                std::signal(signal, SIG_DFL);
            sigset_t none;
            sigemptyset(&none);
            sigprocmask(SIG_SETMASK, &none, nullptr);
            ready_ = ends[1];
            body();
            _exit(1);
        }
        close(ends[1]);
        char byte = 0;
        const bool ready = read(ends[0], &byte, 1) == 1;
        close(ends[0]);
        if (ready)
            AwaitPause();
    }
    ~Child() {
        if (pid_ > 0) {
            kill(pid_, SIGKILL);
            waitpid(pid_, nullptr, 0);
        }
    }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    // In the child: that it is about to call.
    static void TellReady() {
        // cppcheck-suppress invalidFunctionArg; the constructor has set it, in the child
        [[maybe_unused]] const ssize_t written = write(ready_, "", 1);
        // cppcheck-suppress invalidFunctionArg
        close(ready_);
    }

    void Send(int signal) const { kill(pid_, signal); }

    // The signal that ends it.
    int AwaitEnd() {
        int status = 0;
        while (waitpid(pid_, &status, 0) < 0 && errno == EINTR) {
        }
        pid_ = -1;
        return WIFSIGNALED(status) ? WTERMSIG(status) : 0;
    }

    // Whether it is alive when everything that was sent to it has had its effect.
    bool Lives() const {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        return waitpid(pid_, nullptr, WNOHANG) == 0;
    }

private:
    // Signals are sent when it waits, not before.
    void AwaitPause() const {
        const std::string path = "/proc/" + std::to_string(pid_) + "/syscall";
        for (int i = 0; i < 2000; ++i) {
            char text[8] = "";
            FILE* const file = std::fopen(path.c_str(), "re");
            const bool read = file != nullptr && std::fgets(text, sizeof(text), file) != nullptr;
            if (file != nullptr)
                std::fclose(file);
            // A system call's number, or "running".
            if (read && text[0] >= '0' && text[0] <= '9')
                return;
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }

    static inline int ready_ = -1;
    pid_t pid_ = -1;
};

constexpr Mishap kBlocks = {.blocks = true};
constexpr Mishap kHangs = {.blocks = true, .unending = true};

TEST(Mishap, FailsAtOnceWithItsStatus) {
    EXPECT_EQ(Undergo({.status = 13}), 13U);
    EXPECT_EQ(Undergo({}), 0U);
}

TEST(Mishap, TakesItsTimeAndThenFailsOrPasses) {
    for (const U32 status : {0U, 13U}) {
        const U64 start = HostClock();
        EXPECT_EQ(Undergo({.status = status, .delay = 30}), status);
        EXPECT_GE(HostClock() - start, 30'000U);
    }
}

TEST(Mishap, BlockedCallEndsWithTheProcessWhenThatIsTerminated) {
    Child child([] {
        Child::TellReady();
        Undergo(kBlocks);
    });
    EXPECT_TRUE(child.Lives());
    child.Send(SIGTERM);
    EXPECT_EQ(child.AwaitEnd(), SIGTERM);
}

TEST(Mishap, BlockedCallGoesOnBehindAHandledSignal) {
    Child child([] {
        std::signal(SIGUSR1, [](int) {});
        Child::TellReady();
        Undergo(kBlocks);
    });
    child.Send(SIGUSR1);
    EXPECT_TRUE(child.Lives());
}

TEST(Mishap, HangingCallEndsByKillAlone) {
    Child child([] {
        std::signal(SIGTERM, [](int) { _exit(2); });
        Child::TellReady();
        Undergo(kHangs);
    });
    for (const int signal : {SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGPIPE, SIGALRM, SIGUSR1, SIGUSR2,
                             SIGABRT, SIGSEGV, SIGXCPU, SIGRTMIN, SIGRTMAX})
        child.Send(signal);
    EXPECT_TRUE(child.Lives());
    child.Send(SIGKILL);
    EXPECT_EQ(child.AwaitEnd(), SIGKILL);
}

TEST(Mishap, HangingCallOfOneThreadKeepsTheOthersFromTakingTheSignal) {
    Child child([] {
        std::thread other([] { Undergo(kHangs); });
        // It holds signals off before it waits; the thread that is here takes none of them either.
        struct sigaction action {};
        do
            std::this_thread::yield();
        while (sigaction(SIGRTMAX, nullptr, &action) == 0 && action.sa_handler != SIG_IGN);
        Child::TellReady();
        pause();
        _exit(3);
    });
    child.Send(SIGTERM);
    child.Send(SIGINT);
    EXPECT_TRUE(child.Lives());
    child.Send(SIGKILL);
    EXPECT_EQ(child.AwaitEnd(), SIGKILL);
}

TEST(Mishap, HangingCallTakesNoSignalThatIsHandledLater) {
    Child child([] {
        std::thread other([] { Undergo(kHangs); });
        struct sigaction action {};
        do
            std::this_thread::yield();
        while (sigaction(SIGRTMAX, nullptr, &action) == 0 && action.sa_handler != SIG_IGN);
        std::signal(SIGUSR1, [](int) { _exit(4); });
        pthread_kill(other.native_handle(), SIGUSR1);
        Child::TellReady();
        pause();
        _exit(3);
    });
    EXPECT_TRUE(child.Lives());
}

TEST(Mishap, HangingCallLeavesTheEndsOfChildrenAlone) {
    Child child([] {
        std::thread other([] { Undergo(kHangs); });
        struct sigaction action {};
        do
            std::this_thread::yield();
        while (sigaction(SIGRTMAX, nullptr, &action) == 0 && action.sa_handler != SIG_IGN);
        const pid_t grandchild = fork();
        if (grandchild == 0)
            _exit(7);
        int status = 0;
        const bool known =
            waitpid(grandchild, &status, 0) == grandchild && WEXITSTATUS(status) == 7;
        kill(getpid(), known ? SIGKILL : SIGSTOP);
    });
    EXPECT_EQ(child.AwaitEnd(), SIGKILL);
}

TEST(Mishap, CancellationDoesNotEndAWait) {
    Child child([] {
        pthread_t waiting{};
        pthread_create(
            &waiting, nullptr,
            [](void*) -> void* {
                pthread_setcanceltype(PTHREAD_CANCEL_ASYNCHRONOUS, nullptr);
                Child::TellReady();
                Undergo(kBlocks);
                return nullptr;
            },
            nullptr);
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        pthread_cancel(waiting);
        pthread_join(waiting, nullptr);
    });
    EXPECT_TRUE(child.Lives());
}

TEST(Mishap, CancellationIsAgainAsItWasBehindADelay) {
    int before = 0;
    ASSERT_EQ(pthread_setcancelstate(PTHREAD_CANCEL_ENABLE, &before), 0);
    Undergo({.delay = 1});
    int after = -1;
    pthread_setcancelstate(before, &after);
    EXPECT_EQ(after, PTHREAD_CANCEL_ENABLE);
}

}  // namespace
}  // namespace simulated
