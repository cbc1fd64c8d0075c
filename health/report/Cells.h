// Of each card of a run, how each of its tests ended. A test that ran more than once has its worst verdict and
// its longest time.
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "record/Record.h"

namespace zelhealth {

struct Cell {
    std::string_view verdict = "passed";  // one that is not known is "unknown"
    double seconds = 0;
    int times = 0;
};

// Names are those of ShortName.
struct CardCells {
    std::string card;
    std::string pcie;
    std::string uuid;
    std::string generation;
    double memoryBytes = 0;  // 0 when it is not known
    std::string verdict;     // empty while it has not finished
    double seconds = 0;
    std::map<std::string, Cell, std::less<>> tests;  // by "pcie.vlw"
};

class Cells {
public:
    // More cards than a host can have, and more tests than there are: what goes beyond is left out.
    static constexpr std::size_t kMostCards = 256;
    static constexpr std::size_t kMostTests = 64;

    void Read(const Json& record);

    // In the order of their names.
    const std::vector<CardCells>& Cards() const { return cards_; }

private:
    CardCells* CardOf(const Json& record);
    static void AddTest(CardCells& card, const Json& record);

    std::vector<CardCells> cards_;
};

// A name of bounded length that can be shown, to tell hosts, cards and tests apart by.
std::string ShortName(std::string_view text);

// A test's verdict, as a text that is one of a few whatever the record holds.
std::string_view KnownVerdict(const Json& testFinished);

// How bad it is, to compare.
int Badness(std::string_view testVerdict);
std::string_view VerdictOfBadness(std::size_t badness);

}  // namespace zelhealth
