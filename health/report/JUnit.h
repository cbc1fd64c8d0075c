// What systems for continuous integration read: a test suite for each run, a test case for each result, one for
// each card's own state, and one for the run's.
#pragma once

#include "host/OutputFile.h"
#include "report/Output.h"

namespace zelhealth {

class JUnit : public Output {
public:
    explicit JUnit(const std::string& file);

    std::unique_ptr<RunReader> Begin(const RunName& name) override;
    void Close() override;

private:
    OutputFile file_;
};

// Characters that XML has no way to write become U+FFFD.
std::string XmlText(std::string_view text);

}  // namespace zelhealth
