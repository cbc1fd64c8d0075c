// What people read of stored runs: of few cards what the runs themselves said at their end, of many what they
// come to.
#pragma once

#include <cstdio>
#include <string>

#include "report/Output.h"
#include "report/Summary.h"

namespace zelhealth {

class Text : public Output {
public:
    // Runs with more cards in all, or more runs, are many.
    static constexpr std::size_t kFew = 64;

    // `summary` gets each record before this does.
    Text(std::FILE* out, std::size_t columns, bool colours, const Summary& summary);

    std::unique_ptr<RunReader> Begin(const RunName& name) override;
    void Close() override;

private:
    friend class TextRun;

    bool AreFew() const { return runs_ <= kFew && cards_ <= kFew; }

    std::FILE* out_;
    std::size_t columns_;
    bool colours_;
    const Summary& summary_;
    std::size_t runs_ = 0;
    std::size_t cards_ = 0;
    std::string reports_;  // of the runs that have ended, while they are few
};

}  // namespace zelhealth
