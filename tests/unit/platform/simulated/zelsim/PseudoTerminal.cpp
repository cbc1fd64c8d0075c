#include "PseudoTerminal.h"

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

PseudoTerminal::PseudoTerminal() {
    if (openpty(&screen_, &terminal_, nullptr, nullptr, nullptr) != 0)
        throw std::system_error(errno, std::generic_category(), "openpty");
    termios raw{};
    tcgetattr(terminal_, &raw);
    cfmakeraw(&raw);
    tcsetattr(terminal_, TCSANOW, &raw);
    for (const int end : {screen_, terminal_})
        fcntl(end, F_SETFD, FD_CLOEXEC);
}

PseudoTerminal::~PseudoTerminal() {
    close(screen_);
    LeaveTerminal();
}

void PseudoTerminal::LeaveTerminal() {
    if (terminal_ >= 0)
        close(terminal_);
    terminal_ = -1;
}

std::string PseudoTerminal::Read() {
    std::string text;
    pollfd screen{screen_, POLLIN, 0};
    while (poll(&screen, 1, 0) == 1) {
        char piece[4096];
        const ssize_t length = read(screen_, piece, sizeof(piece));
        if (length <= 0)
            break;
        text.append(piece, static_cast<std::size_t>(length));
    }
    return text;
}
