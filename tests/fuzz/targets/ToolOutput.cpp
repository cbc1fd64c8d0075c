// What the tool printed about one test of one card, and how it ended: the first byte is its exit status, the second
// chooses the test, the rest is its standard output.
//
// Nothing passes unless the tool ended with 0 and said so once in each of its four ways, and said of nothing that it
// failed. What is judged twice is judged alike.
#include <string>
#include <string_view>

#include "catalogue/Catalogue.h"
#include "run/Verdict.h"
#include "support/Expect.h"
#include "support/Input.h"

namespace {

using fuzz::Expect;
using fuzz::ExpectEqual;

std::size_t Times(std::string_view text, std::string_view what) {
    std::size_t times = 0;
    for (std::size_t at = 0; (at = text.find(what, at)) != std::string_view::npos; ++at)
        ++times;
    return times;
}

zelhealth::AskedTest Choose(std::uint8_t byte) {
    const auto& tests = zelhealth::Catalogue::BuiltIn().Tests();
    const zelhealth::TestRow& row = tests[byte % tests.size()];
    return {0, row.groupTitle, row.groupSummary, row.number, row.title, ""};
}

void ExpectSaid(std::string_view text, const zelhealth::AskedTest& asked) {
    const std::string test = "Test " + std::to_string(asked.number) + ": PASSED";
    for (const std::string& said : {test, "Test Group [" + asked.groupTitle + "]: PASSED",
                                    std::string("Device Status: OK"), std::string("): PASSED")})
        Expect(Times(text, said) >= 1, "passed without \"" + said + "\"");
    // What the tool says of the card stands on lines of its own; the rest is what libraries print.
    const std::string lines = "\n" + std::string(text);
    for (const std::string& said : {"\nTest Group [" + asked.groupTitle + "]: FAILED\n",
                                    std::string("\nDevice Status: FAILED\n")})
        Expect(Times(lines, said) == 0, "passed with \"" + said + "\"");
    for (std::size_t at = 0; (at = lines.find("\nzel0 (", at)) != std::string::npos; ++at) {
        const std::string line = lines.substr(at + 1, lines.find('\n', at + 1) - at - 1);
        Expect(line.find("): FAILED (") == std::string::npos, "passed with \"" + line + "\"");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2)
        return 0;
    zelhealth::ChildResult result;
    result.end = zelhealth::ChildEnd::exited;
    result.code = data[0];
    result.out = fuzz::Text(data + 2, size - 2);
    const zelhealth::AskedTest asked = Choose(data[1]);

    const zelhealth::Judgement judgement = Judge(result, asked);
    const zelhealth::Judgement again = Judge(result, asked);
    ExpectEqual(NameOf(judgement.verdict), NameOf(again.verdict), "the verdict, asked for again");
    ExpectEqual(judgement.reason, again.reason, "the reason, asked for again");
    if (judgement.verdict == zelhealth::Verdict::passed) {
        Expect(result.code == 0, "what ended with another status than 0 passed");
        ExpectSaid(result.out, asked);
        Expect(judgement.reason.empty(), "what passed has a reason");
    } else {
        Expect(!judgement.reason.empty(), "what did not pass has no reason");
    }
    Expect(judgement.reason.find('\n') == std::string::npos, "a reason of several lines");

    // A child that was ended has not passed, whatever it said.
    result.end = zelhealth::ChildEnd::timedOut;
    Expect(Judge(result, asked).verdict != zelhealth::Verdict::passed, "what timed out passed");
    return 0;
}
