// The command line: global options, the groups by name, and each further word offered to them.
#include "TestEngine/te_main_cmdline.h"

#include <cstdio>
#include <memory>

#include "CommonTool/ShellExecuter.h"
#include "SI/cm_stub0.h"
#include "SI/cm_stub1.h"
#include "SI/si_main.h"
#include "TestEngine/TestGroups.h"
#include "TestEngine/te_main.h"
#include "TestEngine/te_main_console.h"
#include "TestEngine/te_main_frontend.h"
#include "TestEngine/te_main_params.h"

U8 curTstMode = k_NoTestSelected;

namespace {

struct FileCloser {
    void operator()(FILE* file) const { cmCloseFile(file); }
};
using File = std::unique_ptr<FILE, FileCloser>;

bool Contains(const char* word, const char* part) {
    return cmFindFirstString(word, part) != nullptr;
}

bool EqualsAny(const char* name, std::span<const char* const> spellings) {
    for (const char* spelling : spellings) {
        if (cmStringCmp(name, spelling) == 0)
            return true;
    }
    return false;
}

// "-help" at the word's very end: "--help" and "x-help" ask for help, "x-helpful" does not.
bool AsksForHelp(const char* word) {
    constexpr U32 kLength = sizeof(k_HelpWord) - 1;
    const U32 length = cmFindStrLength(word);
    return length >= kLength && cmStringCmp(word + length - kLength, k_HelpWord) == 0;
}

// "-dbgLvl=8" as "-dbgLvl" and 8. A word without "=", or without a number behind it, is no option of
// this form, and so is one that there is no memory to split.
class ValueOption {
public:
    explicit ValueOption(const char* word)
        : name_(ssTextAlloc(static_cast<int>(cmFindStrLength(word)) + 1)) {
        const ssText valueText = ssTextAlloc(static_cast<int>(cmFindStrLength(word)) + 1);
        hasValue_ = name_ && valueText &&
                    cmSplitAndStore(word, '=', name_.get(), valueText.get()) == 0 &&
                    cmConvertChar2U32(valueText.get(), &value_) == 0;
    }

    bool IsNamed(std::span<const char* const> spellings) const {
        return hasValue_ && EqualsAny(name_.get(), spellings);
    }
    U32 Value() const { return value_; }

private:
    ssText name_;
    U32 value_ = 0;
    bool hasValue_ = false;
};

File OpenHelpText() {
    File file(cmOpenRegularFile("/etc/hosk/te_doc.t"));
    if (!file)
        file.reset(cmOpenRegularFile((ShellExecuter::GetAppDirAccessPath() + "/te_doc.t").c_str()));
    return file;
}

// Copies the help text without its comments, which run from "#" to the end of their line, the line
// end included.
void CopyHelpText(FILE* file) {
    bool comment = false;
    for (int character = cmGetSChar(file); character != EOF; character = cmGetSChar(file)) {
        if (character == '#')
            comment = true;
        if (!comment)
            cmPutSChar(character);
        if (character == '\n')
            comment = false;
    }
}

void PrintGlobalHelp() {
    const U32 savedState = ifstSetupParams.conc.state;
    ifstSetupParams.conc.state = k_ConcStateDisplay;
    IFSTDISP("\nZelDiag provides diagnostic tests for Ostrel(R) Vimbra(TM) Coprocessors.\n \n");
    IFSTDISP("Available Global Options (must precede test group/test options!):\n");
    IFSTDISP("   -summary (include a brief summary at the end of the execution)\n");
    IFSTDISP("   -devicelist <comma_seperated_list_of_numbers> (exclude 'zel' prefix)\n");
    IFSTDISP("               DO NOT USE SPACES in the list; it will not parse correctly!\n");
    IFSTDISP("Available Test Groups:\n");
    for (const ifstTstGroup& group : ifstTstGrps)
        IFSTDISP("        %s or %s : %s\n", group.shortNm, group.longNm, group.name);

    const File file = OpenHelpText();
    if (!file) {
        // The display state is left as it is: nothing runs after this.
        std::fprintf(stderr, "Error! unable to find te_doc.t Please check your installation\n");
        return;
    }
    CopyHelpText(file.get());
    IFSTDISP("\n");
    ifstSetupParams.conc.state = savedState;
}

// A DMA worker that was given up may still read the mode: a later parse does not write it again.
void SetQuietMode() {
    if (ifstSetupParams.bQuietMode == 0)
        ifstSetupParams.bQuietMode = 1;
}

constexpr CommandFlag kFlags[] = {
    {"-exitOnFail", [] { ifstSetupParams.failCtlState = IFST_EXIT_ON_FAIL; }},
    {"-skipOnFail", [] { ifstSetupParams.failCtlState = IFST_SKIP_ON_FAIL; }},
    {"-noExitOnFail", [] { ifstSetupParams.failCtlState = IFST_NO_EXIT_ON_FAIL; }},
    {"-quietMode", SetQuietMode},
};

bool TakeFlag(const char* word) {
    for (const CommandFlag& flag : kFlags) {
        if (!Contains(word, flag.name))
            continue;
        flag.set();
        return true;
    }
    return false;
}

// Selects the groups of this name. A group named after a test leaves nothing selected until one of
// its own tests is named too: that is how a forgotten test shows.
bool SelectGroups(const char* word) {
    bool found = false;
    for (ifstTstGroup& group : ifstTstGrps) {
        const char* const names[] = {group.longNm, group.shortNm};
        if (!EqualsAny(word, names))
            continue;
        group.state = IFST_GROUP_SELECTED;
        curTstMode |= k_NoTestSelected;
        found = true;
    }
    return found;
}

// Offers the word to every selected group. IFST_PARSE_ACCEPTED when any took it, else what the last
// one answered.
I16 OfferToGroups(char* word) {
    const ValueOption option(word);
    const bool debugLevel = option.IsNamed(k_DebugLevelNames);
    bool accepted = false;
    I16 status = IFST_PARSE_REFUSED;
    for (ifstTstGroup& group : ifstTstGrps) {
        if (group.state != IFST_GROUP_SELECTED)
            continue;
        if (debugLevel) {
            group.dbgLvl = option.Value() & k_DbgLvlMask;
            accepted = true;
            continue;
        }
        status = group.parse(&group, word);
        if (status == IFST_PARSE_ACCEPTED) {
            curTstMode &= static_cast<U8>(~k_NoTestSelected);
            accepted = true;
        }
    }
    return accepted ? static_cast<I16>(IFST_PARSE_ACCEPTED) : status;
}

// The names compare without case, so that "-R" is "-r" and the outer count is reached by its long name
// only.
constexpr RunValue kRunValues[] = {
    {{"-b", "-bs", "-beginSeed"}, [](U32 value) { ifstSetupParams.conc.startSeed = value; }},
    {{"-e", "-es", "-endSeed"}, [](U32 value) { ifstSetupParams.conc.endSeed = value; }},
    {{"-r", "-repeat", "-innerLpCnt"},
     [](U32 value) { ifstSetupParams.conc.innerLoopCnt = value + 1; }},
    {{"-R", "-Repeat", "-outerLpCnt"},
     [](U32 value) { ifstSetupParams.conc.outerLoopCnt = value + 1; }},
};

void StoreRunValue(const char* word) {
    const ValueOption option(word);
    for (const RunValue& row : kRunValues) {
        if (!option.IsNamed(row.names))
            continue;
        row.store(option.Value());
        return;
    }
}

}  // namespace

std::span<const CommandFlag> ifstFlags() {
    return kFlags;
}

std::span<const RunValue> ifstRunValues() {
    return kRunValues;
}

int ifstParseCmdLine(int count, char** words) {
    curTstMode |= k_NoTestSelected;
    ifstResetParsedOptions();
    bool bFoundTstGrp = false;

    for (int i = 0; i < count; ++i) {
        char* word = words[i];
        if (!bFoundTstGrp && AsksForHelp(word)) {
            PrintGlobalHelp();
            return 0;
        }
        if (TakeFlag(word))
            continue;
        if (count == 1) {
            std::fprintf(stderr, "One argument is missing.\n");
            return -1;
        }
        if (SelectGroups(word)) {
            bFoundTstGrp = true;
            continue;
        }
        if (bFoundTstGrp) {
            const I16 status = OfferToGroups(word);
            if (status == IFST_PARSE_ACCEPTED)
                continue;
            if (status == IFST_PARSE_HELP) {
                // Whoever reads a group's help does not want its tests run, named or not.
                curTstMode |= k_NoTestSelected;
                return 0;
            }
        }
        // The values are stored, and the word is refused all the same: nothing runs with them.
        StoreRunValue(word);
        std::fprintf(stderr, "Invalid argument: %s\nPlease try -help for help.\n", word);
        return -1;
    }
    return 0;
}
