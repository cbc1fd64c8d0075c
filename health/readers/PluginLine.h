// The answer of a monitoring plugin: one line, with performance data behind "|".
#pragma once

#include <map>
#include <string>
#include <vector>

#include "readers/Outcome.h"
#include "record/Record.h"

namespace zelhealth {

class PluginLine : public RecordReader {
public:
    void Read(const Json& record) override;

    // Something that no record tells: what was found cannot be kept.
    void Add(Status status, const std::string& text);

    // "ZEL CRITICAL - zel1: pcie.vlw Link trained down | cards=2 failed=1 ..."
    std::string Text() const;

private:
    int found_ = 0;
    int expected_ = 0;
    std::map<std::string, int> cards_;  // by verdict
    std::map<std::string, int> tests_;
    std::vector<std::string> critical_;
    std::vector<std::string> others_;
    Json finished_;
    Status added_ = Status::ok;
};

}  // namespace zelhealth
