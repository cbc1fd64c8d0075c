// Where stand-ins play: what the companion makes of one, and what is left of it.
#pragma once

#include <filesystem>
#include <string>

#include "Oracle.h"

namespace bad {

struct Found {
    std::string verdict;
    long kilobytes = 0;  // that zelhealth and what it started took, the largest of them
    std::string wrong;   // empty where all is right
};

class Stage {
public:
    // `part` is "read", "played" or "whole"; `zelhealth` the program that the last needs.
    Stage(const std::string& part, std::string zelhealth);
    ~Stage();
    Stage(const Stage&) = delete;
    Stage& operator=(const Stage&) = delete;

    const std::filesystem::path& Folder() const { return folder_; }

    // From any thread.
    Found Try(const Recording& recording, const Act& act) const;

    // What is left behind all of them; empty when nothing is.
    std::string Left() const;

private:
    std::string Read(const Recording& recording, const Act& act, Found& found) const;
    std::string Play(const Recording& recording, const Act& act, Found& found) const;
    std::string Whole(const Recording& recording, const Act& act, Found& found) const;
    std::filesystem::path MakeStandIn(const Recording& recording, const Act& act) const;

    std::string part_;
    std::string zelhealth_;
    std::filesystem::path folder_;
    std::ptrdiff_t descriptors_ = 0;
};

}  // namespace bad
