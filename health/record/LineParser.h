// A line of a stream as a record. Streams of a fleet have millions of lines: simdjson reads the line, and only
// what is wanted of it becomes a record.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "record/Record.h"

namespace zelhealth {

class LineParser {
public:
    LineParser();
    ~LineParser();
    LineParser(const LineParser&) = delete;
    LineParser& operator=(const LineParser&) = delete;

    // Gives why the line is no JSON object, empty when it is one. LineSource::kPadding bytes behind the line
    // are looked at. Texts are cut to a bounded length. Unless it is asked for, the evidence of a test that
    // passed is left out.
    std::string Parse(std::string_view line, bool evidenceOfPassed, Json& record);

private:
    struct Inner;
    std::unique_ptr<Inner> inner_;
};

}  // namespace zelhealth
