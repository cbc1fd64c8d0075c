#include "inventory/Baseline.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <sstream>
#include <system_error>

namespace zelhealth {

namespace {

constexpr char kFirstLine[] = "# Written by zelhealth baseline, with checksum ";

// FNV-1a, of 64 bits: against edits that nobody thought of, not against malice.
std::string Checksum(std::string_view text) {
    constexpr std::uint64_t kBasis = 0xcbf29ce484222325;
    constexpr std::uint64_t kPrime = 0x100000001b3;
    std::uint64_t sum = kBasis;
    for (const char c : text) {
        sum = (sum ^ static_cast<unsigned char>(c)) * kPrime;
    }
    return fmt::format("{:016x}", sum);
}

std::string WithChecksum(const std::string& text) {
    return kFirstLine + Checksum(text) + "\n" + text;
}

void AddLine(std::string& text, const std::string& key, const std::string& value) {
    text += fmt::format("{:<12} = {}\n", key, value);
}

std::vector<FoundCard> Sorted(std::vector<FoundCard> cards) {
    std::sort(cards.begin(), cards.end(),
              [](const FoundCard& one, const FoundCard& other) { return one.pcie < other.pcie; });
    return cards;
}

std::string GenerationOf(const FoundCard& card) {
    return card.facts.value("generation", "");
}

// One value, or all that occur in brackets; "" when no card tells any.
std::string CommonValue(const Field& field, const std::vector<FoundCard>& cards,
                        const std::string& generation) {
    std::vector<std::string> values;
    for (const FoundCard& card : cards) {
        const auto value = ValueOf(field, card.facts);
        if (GenerationOf(card) == generation && value) {
            values.push_back(InToml(field, *value));
        }
    }
    std::sort(values.begin(), values.end());
    values.erase(std::unique(values.begin(), values.end()), values.end());
    return values.size() > 1 ? fmt::format("[{}]", fmt::join(values, ", "))
           : values.empty()  ? ""
                             : values.front();
}

}  // namespace

std::string InventoryText(const std::vector<FoundCard>& cards) {
    std::string text =
        "# The cards that belong into this host. Edit what should be otherwise; a list in brackets "
        "allows\n"
        "# each of its values, and a line that is taken out is not compared. What a difference "
        "means stands\n"
        "# in [policy]: \"fail\", \"warn\" or \"ignore\". See zelhealth(8), INVENTORY.\n";
    for (const FoundCard& card : Sorted(cards)) {
        text += "\n[[card]]\n";
        AddLine(text, "pcie", InToml(Fields().front(), card.pcie));
        for (const Field& field : Fields()) {
            if (const auto value = ValueOf(field, card.facts)) {
                AddLine(text, field.key, InToml(field, *value));
            }
        }
    }
    return WithChecksum(text);
}

std::string FleetText(const std::vector<FoundCard>& cards) {
    std::string text =
        "# What all cards of a generation have in common, the same file on every host. A list in "
        "brackets\n"
        "# allows each of its values. See zelhealth(8), INVENTORY.\n";
    std::vector<std::string> generations;
    for (const FoundCard& card : cards) {
        generations.push_back(GenerationOf(card));
    }
    std::sort(generations.begin(), generations.end());
    generations.erase(std::remove(generations.begin(), generations.end(), ""), generations.end());
    generations.erase(std::unique(generations.begin(), generations.end()), generations.end());
    for (const std::string& generation : generations) {
        text += fmt::format("\n[generation.{}]\n", generation);
        for (const Field& field : Fields()) {
            const std::string value = field.ofOneCard ? "" : CommonValue(field, cards, generation);
            if (!value.empty()) {
                AddLine(text, field.key, value);
            }
        }
    }
    return WithChecksum(text);
}

bool IsAsWritten(const std::filesystem::path& file) {
    std::error_code error;
    if (!std::filesystem::exists(file, error) && !error) {
        return true;
    }
    std::ifstream stream(file);
    std::string first;
    std::getline(stream, first);
    std::ostringstream rest;
    rest << stream.rdbuf();
    return first == kFirstLine + Checksum(rest.str());
}

}  // namespace zelhealth
