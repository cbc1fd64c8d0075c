// The command line, one word a line: the run summary's options, the run driver's defaults, the parser
// and the five groups behind it, up to the opening of the card-access library, which finds no card.
//
// A word is taken or the run ends in one of the documented ways; what is taken is taken alike at the
// parse before the next card; the cards of a device list are tested, and no other; another user gets no
// further than root does.
#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "CommonException.h"
#include "FakeTrace.h"
#include "FakeZelAccess.h"
#include "SI/cm_stub0.h"
#include "TestEngine/te_main.h"
#include "TestEngine/te_main_params.h"
#include "TestEngine/te_summary.h"
#include "ZelDiagTool.h"
#include "support/Expect.h"
#include "support/Input.h"
#include "support/Output.h"
#include "support/ParsedState.h"
#include "support/StandIns.h"

namespace {

using fuzz::Expect;
using fuzz::ExpectEqual;
using Words = std::vector<std::string>;

constexpr int kNotRootStatus = -5;
constexpr unsigned long kNoCard = 0xFFFFFFFF;

enum class Ending { Returned, Refused, Exited };

struct Run {
    Ending ending = Ending::Returned;
    int status = 0;
    bool reachedCards = false;
    std::string out;
    std::string err;
    std::string parsed;
};

Run RunTool(const Words& words, bool asRoot) {
    fuzz::BeginProcess();
    fuzz::BeRoot(asRoot);
    fakes::ZelAccess().AnswerAlways("ZelInitAPI", {ZEL_DEVICE_IO_ERROR});
    fuzz::Arguments arguments(words);
    Run run;
    {
        fuzz::Output output;
        try {
            ZelDiagTool tool;
            run.status = tool.ExecuteCmds(arguments.Count(), arguments.Vector());
        } catch (const CommonException& failure) {
            run.ending = Ending::Refused;
            ExpectEqual(std::string(failure.what()), "Could not parse arguments", "the reason");
        } catch (const fuzz::ProcessEnd& end) {
            run.ending = Ending::Exited;
            run.status = end.status;
        }
        run.out = output.Out();
        run.err = output.Err();
    }
    Expect(arguments.Unchanged(words), "the words are left as they are");
    run.reachedCards = fakes::ZelAccess().CountOf("ZelInitAPI") > 0;
    run.parsed = fuzz::ShowParsed();
    return run;
}

bool StartsWithAny(const std::string& text, std::initializer_list<const char*> starts) {
    return std::any_of(starts.begin(), starts.end(),
                       [&text](const char* start) { return text.starts_with(start); });
}

void CheckRefusal(const Run& run, const Words& words) {
    const bool oneMissing = run.err == "One argument is missing.\n";
    const bool invalid = std::any_of(words.begin(), words.end(), [&run](const std::string& word) {
        return run.err == "Invalid argument: " + word + "\nPlease try -help for help.\n";
    });
    Expect(oneMissing || invalid, "a refusal names one of the words, or says that one is missing");
    Expect(run.out.find("Device Status") == std::string::npos, "nothing is tested");
}

void CheckExit(const Run& run) {
    ExpectEqual(run.status, 1, "the exit status");
    if (run.reachedCards)
        return;
    Expect(
        StartsWithAny(run.out, {"ERROR: The argument to global option '-devicelist' must",
                                "ERROR: Global option '-devicelist' cannot appear more",
                                "ERROR: Global option '-summary' is allowed", "ZelDiag v 1.0\n"}),
        "an early end says why");
}

void CheckRun(const Run& run, const Words& words) {
    const bool nothingSelected = (curTstMode & k_NoTestSelected) != 0;
    switch (run.ending) {
        case Ending::Returned:
            ExpectEqual(run.status, 0, "the exit status of a run that tests nothing");
            Expect(nothingSelected, "a run that returns has nothing to test");
            Expect(!run.reachedCards, "cards are opened only when there is something to test");
            break;
        case Ending::Refused:
            CheckRefusal(run, words);
            Expect(!run.reachedCards, "a refused command line opens no card");
            break;
        case Ending::Exited:
            CheckExit(run);
            Expect(!run.reachedCards || !nothingSelected, "cards are opened for something");
            break;
    }
    if (ifstSetupParams.bQuietMode != 0)
        Expect(std::any_of(words.begin(), words.end(),
                           [](const std::string& word) {
                               return cmFindFirstString(word.c_str(), "-quietmode") != nullptr;
                           }),
               "quiet mode is asked for");
}

// The numbers of a list, as far as cards can have them.
std::set<unsigned long> NumbersOf(const std::string& list) {
    std::set<unsigned long> numbers;
    std::istringstream pieces(list);
    for (std::string piece; std::getline(pieces, piece, ',');) {
        if (!piece.empty())
            numbers.insert(std::min(std::strtoul(piece.c_str(), nullptr, 10), kNoCard));
    }
    return numbers;
}

// The words in front of those that the run driver got are options of the run summary.
void CheckGlobalOptions(const Words& words) {
    const auto taken = words.size() - static_cast<std::size_t>(ifstSetupParams.inpArg.inpArgCnt);
    std::set<std::string> options;
    std::set<unsigned long> listed;
    for (std::size_t i = 1; i <= taken; ++i) {
        Expect(options.insert(words[i]).second, "an option is taken once");
        if (words[i] == "-devicelist")
            listed = NumbersOf(words[++i]);
        else
            ExpectEqual(words[i], "-summary", "the word that is taken");
    }
    std::set<unsigned long> probes{0, 1, 2, 254};
    probes.insert(listed.begin(), listed.end());
    for (const unsigned long card : probes)
        ExpectEqual(TE::SUMMARY_INSTANCE.TestSpecifiedDeviceNumber(static_cast<unsigned int>(card)),
                    listed.empty() || listed.contains(card), "whether a card is tested");
}

// The parse that comes before every card but the first.
void CheckNextParse(const Words& words) {
    const auto count = static_cast<std::size_t>(ifstSetupParams.inpArg.inpArgCnt);
    fuzz::Arguments arguments({words.end() - static_cast<std::ptrdiff_t>(count), words.end()});
    ifstSetupParams.inpArg.inpArgVal = const_cast<const char**>(arguments.Vector());
    const std::string first = fuzz::ShowParsed();
    for (int card = 1; card < 3; ++card) {
        ifstResetGroupRows();
        const fuzz::Output output;
        ExpectEqual(ifstParseCmdLine(arguments.Count() - 1, arguments.Vector() + 1), 0,
                    "the result of the next parse");
        ExpectEqual(fuzz::ShowParsed(), first, "what the next parse sets");
    }
}

void CheckOtherUser(const Run& asRoot, const Words& words) {
    const Run asOther = RunTool(words, false);
    if (asOther.ending == Ending::Exited && asOther.status == kNotRootStatus) {
        Expect(!fakes::Trace().TextsAt(DLVL_TOOLS).empty(), "the user learns about root rights");
        Expect(!asOther.reachedCards, "no card is opened without root rights");
        return;
    }
    ExpectEqual(asOther.parsed, asRoot.parsed, "what is set for a user without root rights");
    ExpectEqual(asOther.status, asRoot.status, "the status for a user without root rights");
    ExpectEqual(asOther.err, asRoot.err, "the errors for a user without root rights");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Words words{"ZelDiag"};
    std::ranges::copy(fuzz::SplitWords(fuzz::Text(data, size)), std::back_inserter(words));
    const Run run = RunTool(words, true);
    CheckRun(run, words);
    if (run.ending == Ending::Returned || run.reachedCards) {
        fuzz::CheckParsed();
        CheckGlobalOptions(words);
        CheckNextParse(words);
    }
    CheckOtherUser(run, words);
    return 0;
}
