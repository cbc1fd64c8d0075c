// Makes texts fit to be shown.
#include "host/Printable.h"

#include <algorithm>

namespace zelhealth {

std::string Printable(std::string text) {
    std::replace_if(
        text.begin(), text.end(),
        [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; }, '?');
    return text;
}

}  // namespace zelhealth
