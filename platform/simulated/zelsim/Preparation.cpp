// A program of this machine that prepares a part of the host.
#include "zelsim/Preparation.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <string>

#include "zelsim/Host.h"
#include "zelsim/HostFiles.h"

namespace simulated {

Preparation::Preparation(const char* const* arguments, const char* package, const char* input)
    : program_(arguments[0]) {
    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_addopen(&files, STDIN_FILENO, input, O_RDONLY, 0);
    char* const environment[] = {nullptr};
    const int error = posix_spawn(&process_, program_, &files, nullptr,
                                  const_cast<char* const*>(arguments), environment);
    posix_spawn_file_actions_destroy(&files);
    errno = error;
    if (error != 0)
        ThrowHostError(std::string("cannot start ") + program_ + " (package " + package + ")");
}

Preparation::~Preparation() {
    if (process_ < 0)
        return;
    kill(process_, SIGKILL);
    Wait();
}

void Preparation::Finish() {
    const int status = Wait();
    if (WIFSIGNALED(status))
        throw HostError(std::string(program_) + ": " + strsignal(WTERMSIG(status)));
    if (status != 0)
        throw HostError(std::string(program_) + ": ended with status " +
                        std::to_string(WEXITSTATUS(status)));
}

int Preparation::Wait() {
    int status = W_EXITCODE(255, 0);  // of one that cannot be waited for
    while (waitpid(process_, &status, 0) < 0 && errno == EINTR) {
    }
    process_ = -1;
    return status;
}

}  // namespace simulated
