// The document: a row for each fault, a row for each test, and what is left out.
#pragma once

#include <ostream>
#include <vector>

#include "Runs.h"

// A test that finds no fault but a failing call.
struct FindsCallsOnly {
    std::string_view test;
    const char* reason;
};

inline constexpr FindsCallsOnly kFindsCallsOnly[] = {
    {"-gec", "prints the number of cores; any number passes"},
    {"-fwv", "prints a version; any passes"},
    {"-hwr", "prints what the board is; any passes"},
    {"-uniqueid", "prints a number; any passes"},
};

void WriteDocument(std::ostream& out, const std::vector<Fault>& faults,
                   const std::vector<Result>& results);
