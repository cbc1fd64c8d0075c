// A table of test results, as RFC 4180 has it: a row for each, and one for each run that was broken off.
#pragma once

#include "host/OutputFile.h"
#include "report/Output.h"

namespace zelhealth {

class Csv : public Output {
public:
    explicit Csv(const std::string& file);

    std::unique_ptr<RunReader> Begin(const RunName& name) override;
    void Close() override;

private:
    OutputFile file_;
};

// A field: what a spreadsheet would take for a formula begins with an apostrophe, and is text.
std::string CsvField(std::string_view text);

}  // namespace zelhealth
