// A card's program, run here as on the card: in a process of its own that stands for node 1, with an
// input that stays open as long as its caller lives.
#pragma once

#include <fcntl.h>
#include <sched.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <stdexcept>
#include <string>
#include <vector>

// Where that is allowed, ports are the test's own: two test runs at once do not meet.
inline const bool ownNetwork = unshare(CLONE_NEWNET) == 0;

class CardProgram {
public:
    // `variable`, if any, is one more in the program's environment.
    CardProgram(const std::string& name, const std::string& arguments,
                const std::string& folder = CARD_PROGRAMS, const std::string& variable = "") {
        int input[2];
        int output[2];
        if (pipe2(input, O_CLOEXEC) != 0 || pipe2(output, O_CLOEXEC) != 0)
            throw std::runtime_error("pipe");
        input_ = input[1];
        output_ = output[0];
        const std::string command = "exec '" + folder + name + "' " + arguments;
        std::vector<char*> argv = {const_cast<char*>("sh"), const_cast<char*>("-c"),
                                   const_cast<char*>(command.c_str()), nullptr};
        std::vector<char*> environment = {const_cast<char*>("ZELSIM_NODE=1"),
                                          const_cast<char*>(variable.c_str()), nullptr};
        if (variable.empty())
            environment.erase(environment.begin() + 1);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, input[0], STDIN_FILENO);
        posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);
        const int error =
            posix_spawn(&process_, "/bin/sh", &actions, nullptr, argv.data(), environment.data());
        posix_spawn_file_actions_destroy(&actions);
        close(input[0]);
        close(output[1]);
        if (error != 0)
            throw std::runtime_error("posix_spawn");
    }
    ~CardProgram() {
        if (process_ > 0)
            Kill();
        EndInput();
        close(output_);
    }
    CardProgram(const CardProgram&) = delete;
    CardProgram& operator=(const CardProgram&) = delete;

    void Kill() {
        kill(process_, SIGKILL);
        Await();
    }

    void EndInput() {
        if (input_ >= 0)
            close(input_);
        input_ = -1;
    }

    bool Runs() const {
        siginfo_t info{};
        waitid(P_PID, static_cast<id_t>(process_), &info, WEXITED | WNOHANG | WNOWAIT);
        return info.si_pid == 0;
    }

    // Its exit status; 128 and the signal that killed it.
    int Await() {
        char buffer[4096];
        for (ssize_t got; (got = read(output_, buffer, sizeof buffer)) > 0;)
            text_.append(buffer, static_cast<size_t>(got));
        int status = 0;
        waitpid(process_, &status, 0);
        process_ = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }

    // All that it printed; once it has ended.
    const std::string& Output() const { return text_; }

private:
    pid_t process_ = -1;
    int input_ = -1;
    int output_ = -1;
    std::string text_;
};
