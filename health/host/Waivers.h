// Failures that an operator has decided to live with for a while: which card, which test, until when,
// and why. From waivers.toml in the configuration folder:
//
//   [[waiver]]
//   card  = "0000:03:00.0"      # or "zel1"; "*" for every card
//   test  = "pcie.vlw"          # group and test; "pcie.*" for a group, "*" for every test
//   until = 2026-12-31          # the last day on which it counts, in UTC
//   why   = "riser replaced in January, ticket 1234"
#pragma once

#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

#include "host/TomlFile.h"

namespace zelhealth {

struct Waiver {
    std::string card;
    std::string test;
    std::chrono::sys_days until;
    std::string why;

    bool Expired(std::chrono::system_clock::time_point now) const;

    // "waived until 2026-12-31: riser replaced in January" or "waiver expired on 2026-12-31: ...".
    std::string Text(std::chrono::system_clock::time_point now) const;
};

class Waivers {
public:
    // Without a file there are none. Throws std::runtime_error with file, line and reason when there is
    // one that is wrong: a waiver that is not understood must not become one for something else.
    static Waivers Load(const std::filesystem::path& file);

    // Throws TomlError.
    static Waivers Read(const TomlFile& text);

    // The waiver of a failure of a card: one that counts before one that has expired. Null without one.
    const Waiver* Find(const std::string& card, const std::string& pcie, const std::string& test,
                       std::chrono::system_clock::time_point now) const;

    const std::vector<Waiver>& All() const { return waivers_; }

private:
    std::vector<Waiver> waivers_;
};

}  // namespace zelhealth
