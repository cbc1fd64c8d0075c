// The lines of a file of any size, one at a time. Memory is bounded whatever the file holds: a line that is too
// long is left out.
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

#include "run/Descriptor.h"
#include "run/Stop.h"

namespace zelhealth {

class LineSource {
public:
    // A record has a tenth of that at most.
    static constexpr std::size_t kLongestLine = 4UL * 1024 * 1024;

    // So many bytes behind a line's text can be read, too, whatever they are: parsers want that.
    static constexpr std::size_t kPadding = 64;

    struct Line {
        std::string_view text;  // without its end; valid until the next line. Empty of one too long
        bool ended = true;  // false of the last line of a file that does not end with a line end
        bool tooLong = false;
    };

    // A wish to stop ends the lines, whenever it is made; `stop` may be null.
    LineSource(Descriptor file, const Stop* stop);

    // Nothing at the end, and after an error.
    std::optional<Line> Next();

    // Why reading ended before its time: an errno, ECANCELED for a wish. 0 otherwise.
    int Error() const { return error_; }

private:
    bool Fill();
    bool Wait();

    Descriptor file_;
    const Stop* stop_;
    std::vector<char> buffer_;
    std::size_t begin_ = 0;  // of the line
    std::size_t end_ = 0;    // of what was read
    int error_ = 0;
};

}  // namespace zelhealth
