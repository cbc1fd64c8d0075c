// What hosts and cards have, by name: versions, and what an inventory compares. Most of a fleet has the same, so
// that a trait is told apart by numbers, and those that differ are found when all are known.
#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

namespace zelhealth {

// Numbers in order of coming for texts; those beyond a bound are one.
class Names {
public:
    explicit Names(std::size_t most) : most_(most) {}

    std::uint16_t NumberOf(const std::string& text);
    const std::string& operator[](std::uint16_t number) const { return texts_[number]; }
    std::size_t Size() const { return texts_.size(); }

private:
    std::size_t most_;
    std::vector<std::string> texts_;
    std::unordered_map<std::string, std::uint16_t> numbers_;
};

struct Trait {
    static constexpr std::uint16_t kHost = 0xFFFF;

    std::uint16_t item;
    std::uint16_t value;
    std::uint16_t card;  // kHost for what is the host's own
};

struct Place {
    std::string host;
    std::string card;  // empty for a host
};

// An item of which there are several values.
struct Divergence {
    static constexpr std::size_t kMostPlaces = 1000;

    struct Value {
        std::string text;
        std::uint64_t count = 0;    // of cards, or of hosts
        std::vector<Place> places;  // the first few; none of the value that most have
    };

    std::string item;  // "flash version of er1x cards"
    bool ofCards = false;
    std::uint64_t count = 0;
    std::vector<Value> values;  // the most frequent first
};

class Traits {
public:
    // `card` is empty for a trait of the host.
    Trait Of(const std::string& item, const std::string& value, const std::string& card);

    // `hosts` are names, `traits` of each the traits.
    std::vector<Divergence> DivergencesOf(
        const std::vector<std::string>& hosts,
        const std::vector<const std::vector<Trait>*>& traits) const;

private:
    static constexpr std::size_t kMostItems = 256;
    static constexpr std::size_t kMostValues = 4096;
    static constexpr std::size_t kMostCards = 4096;

    Names items_{kMostItems};
    Names values_{kMostValues};
    Names cards_{kMostCards};
};

}  // namespace zelhealth
