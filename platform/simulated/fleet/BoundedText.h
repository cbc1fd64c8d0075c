// A text in a place of fixed size: what holds one can lie in memory that processes share.
#pragma once

#include <algorithm>
#include <array>
#include <concepts>
#include <stdexcept>
#include <string_view>

namespace simulated {

template <std::size_t Most>
class BoundedText {
public:
    static constexpr std::size_t kMost = Most;  // bytes, without the NUL character behind them

    constexpr BoundedText() = default;

    // Throws std::length_error.
    template <typename Source>
    requires(std::convertible_to<Source, std::string_view> &&
             !std::same_as<Source, BoundedText>) constexpr BoundedText(const Source& source) {
        const std::string_view text = source;
        if (text.size() > Most)
            throw std::length_error("a text is longer than its place");
        std::copy(text.begin(), text.end(), bytes_.begin());
    }

    // In memory that somebody else wrote there may be none; a text without an end has no view.
    bool HasEnd() const { return bytes_.back() == '\0'; }
    std::string_view View() const { return bytes_.data(); }
    operator std::string_view() const { return View(); }

    // With the NUL characters that fill the place.
    const std::array<char, Most + 1>& Bytes() const { return bytes_; }

    bool operator==(const BoundedText& other) const { return View() == other.View(); }
    template <typename Other>
    requires(std::convertible_to<Other, std::string_view> && !std::same_as<Other, BoundedText>) bool
    operator==(const Other& other) const {
        return View() == std::string_view(other);
    }

private:
    std::array<char, Most + 1> bytes_{};
};

}  // namespace simulated
