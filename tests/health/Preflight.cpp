// preflight TOOL CARD GENERATION NEED...: whether this host has what tests need of it.
//
// Prints what is missing and, on a line of its own, what mends it. Exit status: 0 when nothing is, 1 for
// a fault of this host, 2 for one of the card.
#include "host/Preflight.h"

#include <cstdio>
#include <exception>

using namespace zelhealth;

namespace {

constexpr int kFirstNeed = 4;

int Look(int argc, char** argv) {
    PreflightPlaces places;
    places.tool = argv[1];
    Preflight preflight(places);
    const Stop stop;
    const auto fault =
        preflight.Check({.card = argv[2], .generation = argv[3], .mode = "normal"},
                        std::vector<std::string>(argv + kFirstNeed, argv + argc), stop);
    if (!fault)
        return 0;
    std::printf("%s\n%s\n", fault->text.c_str(), fault->mend.c_str());
    return fault->kind == PreflightFault::Kind::setup ? 1 : 2;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc <= kFirstNeed)
        return 3;
    try {
        return Look(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "preflight: %s\n", error.what());
        return 3;
    }
}
