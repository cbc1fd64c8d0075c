// The package database of a simulated host, which the machine's own rpm reads there. It holds one
// package, that of the host's software stack, or none.
#pragma once

#include <string>

#include "zelsim/Preparation.h"

namespace simulated {

// rpm itself makes the database, which takes a while: it is under way between the constructor and
// Finish. Both throw HostError.
class PackageDatabase {
public:
    // `hoskVersion` is the version of the package hosk-daemon; empty: it is not installed.
    explicit PackageDatabase(const std::string& hoskVersion);
    void Finish() { maker_.Finish(); }

private:
    Preparation maker_;
};

}  // namespace simulated
