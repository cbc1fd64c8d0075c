#include "readers/DrawnLines.h"

#include <fmt/format.h>
#include <sys/ioctl.h>

#include "host/Print.h"

namespace zelhealth {

TerminalSize SizeOf(std::FILE* terminal) {
    winsize size{};
    TerminalSize result;
    if (ioctl(fileno(terminal), TIOCGWINSZ, &size) == 0 && size.ws_col > 0 && size.ws_row > 0) {
        result.columns = size.ws_col;
        result.rows = size.ws_row;
    }
    return result;
}

std::string CutTo(std::string text, std::size_t columns) {
    std::size_t seen = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool begins = (static_cast<unsigned char>(text[i]) & 0xC0U) != 0x80U;
        seen += begins ? 1 : 0;
        if (seen > columns) {
            text.resize(i);
            break;
        }
    }
    return text;
}

void DrawnLines::Draw(const std::vector<std::string>& lines) {
    std::string text = drawn_ > 0 ? fmt::format("\033[{}A\r", drawn_) : "";
    for (const std::string& line : lines) {
        text += line + "\033[K\n";
    }
    text += "\033[J";
    Print(terminal_, text);
    std::fflush(terminal_);
    drawn_ = lines.size();
}

void DrawnLines::Erase() {
    if (drawn_ > 0) {
        Print(terminal_, fmt::format("\033[{}A\r\033[J", drawn_));
        std::fflush(terminal_);
        drawn_ = 0;
    }
}

}  // namespace zelhealth
