// A line for each test that has finished, where nobody watches.
#pragma once

#include <cstdio>

#include "record/Record.h"

namespace zelhealth {

class Lines : public RecordReader {
public:
    explicit Lines(std::FILE* out) : out_(out) {}
    void Read(const Json& record) override;

private:
    std::FILE* out_;
};

}  // namespace zelhealth
