// What metrics say of the cards of a host, and its form while it waits in a file.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace zelhealth {

struct TestSample {
    std::uint32_t test;     // a number that its reader knows
    std::uint32_t badness;  // of its verdict
    double seconds;
};

struct CardSamples {
    std::string labels;
    bool healthy = false;
    double memoryBytes = 0;  // 0 when it is not known
    std::vector<TestSample> tests;
};

std::string Packed(const std::vector<CardSamples>& cards);

// `bytes` are those of Packed.
std::vector<CardSamples> Unpacked(std::string_view bytes);

}  // namespace zelhealth
