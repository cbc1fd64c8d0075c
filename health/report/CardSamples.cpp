#include "report/CardSamples.h"

#include <cstring>
#include <type_traits>

namespace zelhealth {

namespace {

struct Head {
    std::uint32_t labels;
    std::uint32_t tests;
    double memoryBytes;
    bool healthy;
};

template <typename Value>
void Put(std::string& bytes, const Value* values, std::size_t count) {
    static_assert(std::is_trivially_copyable_v<Value>);
    const std::size_t before = bytes.size();
    bytes.resize(before + count * sizeof(Value));
    if (count > 0) {
        std::memcpy(bytes.data() + before, values, count * sizeof(Value));
    }
}

template <typename Value>
void Take(std::string_view& bytes, Value* values, std::size_t count) {
    static_assert(std::is_trivially_copyable_v<Value>);
    if (count > 0) {
        std::memcpy(values, bytes.data(), count * sizeof(Value));
    }
    bytes.remove_prefix(count * sizeof(Value));
}

}  // namespace

std::string Packed(const std::vector<CardSamples>& cards) {
    std::string bytes;
    for (const CardSamples& card : cards) {
        const Head head = {static_cast<std::uint32_t>(card.labels.size()),
                           static_cast<std::uint32_t>(card.tests.size()), card.memoryBytes,
                           card.healthy};
        Put(bytes, &head, 1);
        Put(bytes, card.labels.data(), card.labels.size());
        Put(bytes, card.tests.data(), card.tests.size());
    }
    return bytes;
}

std::vector<CardSamples> Unpacked(std::string_view bytes) {
    std::vector<CardSamples> cards;
    while (!bytes.empty()) {
        Head head{};
        Take(bytes, &head, 1);
        CardSamples& card = cards.emplace_back();
        card.healthy = head.healthy;
        card.memoryBytes = head.memoryBytes;
        card.labels.resize(head.labels);
        Take(bytes, card.labels.data(), head.labels);
        card.tests.resize(head.tests);
        Take(bytes, card.tests.data(), head.tests);
    }
    return cards;
}

}  // namespace zelhealth
