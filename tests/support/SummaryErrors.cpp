#include "SummaryErrors.h"

#include <iostream>
#include <sstream>

#include "Report.h"
#include "TestEngine/te_summary.h"

// A copy is sent, since what is sent is gone.
std::vector<std::string> SummaryErrors() {
    std::string name = "x";
    std::string option = "-summary";
    char* argv[] = {name.data(), option.data(), nullptr};
    int consumed = 0;
    TE::TESummary copy = TE::SUMMARY_INSTANCE;
    copy.ProcessGlobalOptions(2, argv, &consumed);
    std::ostringstream text;
    std::streambuf* const before = std::cout.rdbuf(text.rdbuf());
    copy.SendSummaryToConsole();
    std::cout.rdbuf(before);
    const std::string sent = text.str();
    std::vector<std::string> errors;
    for (const Report::CardInSummary& card : Report(sent).summary)
        errors.insert(errors.end(), card.errors.begin(), card.errors.end());
    return errors;
}
