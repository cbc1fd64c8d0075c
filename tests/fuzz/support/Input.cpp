// Words and argument vectors.
#include "Input.h"

#include <cstring>

namespace fuzz {

std::vector<std::string> SplitWords(std::string_view input) {
    constexpr std::string_view kSeparators("\n\0", 2);
    std::vector<std::string> words;
    while (!input.empty()) {
        const std::size_t end = input.find_first_of(kSeparators);
        words.emplace_back(input.substr(0, end));
        input.remove_prefix(end == input.npos ? input.size() : end + 1);
    }
    return words;
}

Arguments::Arguments(const std::vector<std::string>& words)
    : count_(static_cast<int>(words.size())), vector_(new char*[words.size() + 1]) {
    for (std::size_t i = 0; i < words.size(); ++i) {
        texts_.emplace_back(new char[words[i].size() + 1]);
        std::memcpy(texts_.back().get(), words[i].c_str(), words[i].size() + 1);
        vector_[i] = texts_.back().get();
    }
    vector_[words.size()] = nullptr;
}

bool Arguments::Unchanged(const std::vector<std::string>& words) const {
    for (std::size_t i = 0; i < words.size(); ++i) {
        if (vector_[i] != texts_[i].get() || words[i] != vector_[i])
            return false;
    }
    return vector_[words.size()] == nullptr;
}

}  // namespace fuzz
