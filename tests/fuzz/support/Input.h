// What a target makes of an input's bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace fuzz {

inline std::string_view Text(const std::uint8_t* data, std::size_t size) {
    return {reinterpret_cast<const char*>(data), size};
}

// What a C string of it holds.
inline std::string TextToNul(const std::uint8_t* data, std::size_t size) {
    const std::string_view text = Text(data, size);
    return std::string(text.substr(0, text.find('\0')));
}

// The pieces between line ends and NULs, which no word of a command line holds both of; nothing for an
// empty input.
std::vector<std::string> SplitWords(std::string_view input);

// An argument vector as main gets it. Every word, and the vector itself, ends where its memory does,
// so that a sanitizer sees a read beyond it.
class Arguments {
public:
    explicit Arguments(const std::vector<std::string>& words);

    int Count() const { return count_; }
    char** Vector() { return vector_.get(); }

    // Whether the words are still what they were.
    bool Unchanged(const std::vector<std::string>& words) const;

private:
    int count_;
    std::vector<std::unique_ptr<char[]>> texts_;
    std::unique_ptr<char*[]> vector_;
};

}  // namespace fuzz
