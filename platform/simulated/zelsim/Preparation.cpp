// A program of this machine that prepares a part of the host.
#include "Preparation.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "Host.h"
#include "HostFiles.h"

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

void Preparation::Finish() {
    int status = 0;
    while (waitpid(process_, &status, 0) < 0) {
        if (errno != EINTR)
            ThrowHostError(std::string("cannot wait for ") + program_);
    }
    if (status != 0)
        throw HostError(std::string(program_) + " failed");
}

}  // namespace simulated
