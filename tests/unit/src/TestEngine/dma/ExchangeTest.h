// The base of the tests of the two halves of the exchange: runs a half against the scripted library
// and keeps what it printed, called and told the summary.
#pragma once

#include <string>
#include <vector>

#include "SummaryErrors.h"
#include "TestEngine/dma/VorlExchange.h"
#include "TestEngine/te_main_params.h"
#include "TestEngine/te_summary.h"
#include "ToolFixture.h"

class ExchangeTest : public ToolFixture {
protected:
    using Texts = std::vector<std::string>;

    template <typename Half>
    unsigned int Run(Half half) {
        TE::SUMMARY_INSTANCE = TE::TESummary();
        TE::SUMMARY_INSTANCE.SetZelNumberAndVersions(0, "f", "s");
        fakes::TheJournal().Clear();
        fakes::CaptureOutput capture;
        const unsigned int result = half();
        out_ = capture.Out();
        calls_.clear();
        for (const std::string& line : fakes::TheJournal().Lines()) {
            if (!line.starts_with("stdout"))
                calls_.push_back(line);
        }
        EXPECT_TRUE(fakes::Vorl().OpenEndpoints().empty()) << "endpoints left open";
        return result;
    }

    // The calls that begin so.
    Texts CallsOf(const std::string& name) const {
        Texts found;
        for (const std::string& call : calls_) {
            if (call.starts_with(name))
                found.push_back(call);
        }
        return found;
    }

    // The texts that the summary got, without group and test.
    static Texts Errors() {
        Texts errors;
        for (const std::string& line : SummaryErrors())
            errors.push_back(line.substr(line.find(": ") + 2));
        return errors;
    }

    std::string out_;
    Texts calls_;
};
