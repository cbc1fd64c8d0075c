#include "fleet/Traits.h"

#include <algorithm>
#include <map>

namespace zelhealth {

std::uint16_t Names::NumberOf(const std::string& text) {
    const auto known = numbers_.find(text);
    if (known != numbers_.end()) {
        return known->second;
    }
    if (texts_.size() + 1 >= most_) {
        if (texts_.size() < most_) {
            texts_.emplace_back("(others)");
        }
        return static_cast<std::uint16_t>(most_ - 1);
    }
    const auto number = static_cast<std::uint16_t>(texts_.size());
    texts_.push_back(text);
    numbers_.emplace(text, number);
    return number;
}

Trait Traits::Of(const std::string& item, const std::string& value, const std::string& card) {
    return {items_.NumberOf(item), values_.NumberOf(value),
            card.empty() ? Trait::kHost : cards_.NumberOf(card)};
}

std::vector<Divergence> Traits::DivergencesOf(
    const std::vector<std::string>& hosts,
    const std::vector<const std::vector<Trait>*>& traits) const {
    // By item: how often each value is there.
    std::map<std::uint16_t, std::map<std::uint16_t, std::uint64_t>> counts;
    for (const auto* const ofHost : traits) {
        for (const Trait& trait : *ofHost) {
            ++counts[trait.item][trait.value];
        }
    }
    std::vector<Divergence> differences;
    std::map<std::pair<std::uint16_t, std::uint16_t>, std::vector<Place>> places;
    std::map<std::uint16_t, std::vector<std::uint16_t>> orders;  // of the values, by item
    for (const auto& [item, values] : counts) {
        if (values.size() < 2) {
            continue;
        }
        std::vector<std::uint16_t>& order = orders[item];
        for (const auto& [value, count] : values) {
            order.push_back(value);
        }
        std::stable_sort(order.begin(), order.end(), [&values = values](auto one, auto other) {
            return values.at(one) > values.at(other);
        });
        for (std::size_t i = 1; i < order.size(); ++i) {
            places.emplace(std::pair(item, order[i]), std::vector<Place>());
        }
    }
    std::map<std::uint16_t, bool> ofCards;
    for (std::size_t i = 0; i < traits.size(); ++i) {
        for (const Trait& trait : *traits[i]) {
            ofCards[trait.item] = trait.card != Trait::kHost;
            const auto wanted = places.find({trait.item, trait.value});
            if (wanted != places.end() && wanted->second.size() < Divergence::kMostPlaces) {
                wanted->second.push_back(
                    {hosts[i], trait.card == Trait::kHost ? "" : cards_[trait.card]});
            }
        }
    }
    for (const auto& [item, order] : orders) {
        Divergence difference{items_[item], ofCards[item], 0, {}};
        for (const std::uint16_t value : order) {
            const std::uint64_t count = counts[item][value];
            difference.count += count;
            const auto listed = places.find({item, value});
            difference.values.push_back(
                {values_[value], count,
                 listed == places.end() ? std::vector<Place>() : std::move(listed->second)});
        }
        differences.push_back(std::move(difference));
    }
    return differences;
}

}  // namespace zelhealth
