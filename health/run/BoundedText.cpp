#include "run/BoundedText.h"

#include <algorithm>

namespace zelhealth {

void BoundedText::Append(std::string_view text) {
    const std::size_t room = half_ - std::min(half_, head_.size());
    head_.append(text.substr(0, room));
    tail_.append(text.substr(std::min(room, text.size())));
    if (tail_.size() > half_) {
        cut_ = true;
    }
    if (tail_.size() > 2 * half_) {
        tail_.erase(0, tail_.size() - half_);
    }
}

std::string BoundedText::Text() const {
    return head_ + tail_.substr(tail_.size() - std::min(half_, tail_.size()));
}

}  // namespace zelhealth
