#include "readers/Wrap.h"

#include <algorithm>
#include <string_view>

namespace zelhealth {

namespace {

constexpr std::size_t kNarrowest = 40;

}  // namespace

std::string Wrap(const std::string& text, std::size_t columns, std::size_t indent) {
    const std::size_t width = std::max(columns, kNarrowest) - indent;
    std::string wrapped;
    std::string_view rest = text;
    while (rest.size() > width) {
        std::size_t end = rest.rfind(' ', width);
        const bool word = end != std::string_view::npos && end > 0;
        end = word ? end : width;
        wrapped += std::string(rest.substr(0, end)) + "\n" + std::string(indent, ' ');
        rest.remove_prefix(end + (word ? 1 : 0));
    }
    return wrapped + std::string(rest);
}

}  // namespace zelhealth
