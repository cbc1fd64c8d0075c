// The beginning and the end of a text of any length.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace zelhealth {

class BoundedText {
public:
    explicit BoundedText(std::size_t bytes) : half_(bytes / 2) {}

    void Append(std::string_view text);

    // Whether something is missing between beginning and end.
    bool Cut() const { return cut_; }

    std::string Text() const;

private:
    std::size_t half_;
    std::string head_;
    std::string tail_;  // up to twice its half, so that not every piece moves it
    bool cut_ = false;
};

}  // namespace zelhealth
