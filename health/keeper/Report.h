// What zelkeeper and the one that starts it say to each other, over a socket that keeps messages apart.
// Closing the socket is a message too: whoever started zelkeeper is gone, or wants no more of it, and
// all that was started is killed.
#pragma once

#include <sys/types.h>

namespace zelhealth::keeper {

// The keeper's end of the socket.
constexpr int kSocket = 3;

// To the keeper.
enum class Order : char {
    terminate = 'T',  // SIGTERM to the program
    kill = 'K',       // SIGKILL to the program and all that it has started
};

// From the keeper.
struct Report {
    enum class Kind : int {
        started,     // pid
        notStarted,  // value is the errno with which it failed
        ended,       // value is the program's wait status
    };
    Kind kind;
    pid_t pid;
    int value;
};

}  // namespace zelhealth::keeper
