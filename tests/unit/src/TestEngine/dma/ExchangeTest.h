// The base of the tests of the two halves of the exchange: runs a half against the scripted library
// and keeps what it printed, called and told the summary.
#pragma once

#include <string>
#include <vector>

#include "Fixture.h"
#include "TestEngine/dma/VorlExchange.h"
#include "TestEngine/te_main_params.h"
#include "TestEngine/te_summary.h"

class ExchangeTest : public fakes::Fixture {
protected:
    using Texts = std::vector<std::string>;

    ExchangeTest() { ifstSetupParams = {}; }
    ~ExchangeTest() override {
        ifstSetupParams = {};
        TE::SUMMARY_INSTANCE = TE::TESummary();
    }

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
        std::string name = "x";
        std::string option = "-summary";
        char* argv[] = {name.data(), option.data(), nullptr};
        int consumed = 0;
        TE::TESummary copy = TE::SUMMARY_INSTANCE;
        copy.ProcessGlobalOptions(2, argv, &consumed);
        std::string text;
        {
            fakes::CaptureOutput capture;
            copy.SendSummaryToConsole();
            text = capture.Out();
        }
        Texts errors;
        for (size_t at = text.find("\n  "); at != std::string::npos;
             at = text.find("\n  ", at + 1)) {
            const std::string line = text.substr(at + 3, text.find('\n', at + 1) - at - 3);
            errors.push_back(line.substr(line.find(": ") + 2));
        }
        return errors;
    }

    std::string out_;
    Texts calls_;
};
