// Lines on a terminal that are drawn again and again in their place.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

namespace zelhealth {

// Columns and rows of the terminal; 80 and 24 where that is not known.
struct TerminalSize {
    std::size_t columns = 80;
    std::size_t rows = 24;
};
TerminalSize SizeOf(std::FILE* terminal);

// Text cut to so many columns; a character of several bytes takes one.
std::string CutTo(std::string text, std::size_t columns);

class DrawnLines {
public:
    explicit DrawnLines(std::FILE* terminal) : terminal_(terminal) {}

    // Over those that were drawn before.
    void Draw(const std::vector<std::string>& lines);

    void Erase();

private:
    std::FILE* terminal_;
    std::size_t drawn_ = 0;
};

}  // namespace zelhealth
