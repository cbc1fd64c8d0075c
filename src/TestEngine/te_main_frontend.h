// What the five test groups' front ends share: taking words of the command line, preparing and
// closing the group on a card, printing the usage. A group tells its differences by one constant
// record, from which its functions follow.
#pragma once

#include <array>
#include <span>

#include "SI/cm_stub0.h"
#include "TestEngine/te_main_records.h"

// What the words of one parse have set in a group.
struct ifstGroupParseState {
    bool tstDefined;  // a test of the group has been named
};

struct ifstGroupFrontEnd {
    const char* summaryName;
    ifstTstCb* tests;
    U16 numTests;

    // The control block.
    ifstGrpTstCb* gen;
    U32* debugLevel;
    char* fileName;  // k_GroupFileNameSize characters

    ifstGroupParseState* parseState;

    // Compares a word with a test's name; 0 when equal.
    int (*compareTestName)(const char* word, const char* name) = cmStringCmp;
    // Take the group's own words; null when it has none. `takeAll` runs after every test was selected.
    void (*takeAll)() = nullptr;
    bool (*takeOption)(const char* word) = nullptr;
    void (*resetOptions)() = nullptr;

    // What follows "*** NAME :" when the card is not in normal mode.
    const char* notNormalText = nullptr;
    // Name of the group's configuration step where it reports a missing card-access object; or null.
    const char* cfgName = nullptr;

    void (*usage)();

    std::span<ifstTstCb> Tests() const { return {tests, numTests}; }
};

// A word that every group takes, in one or two spellings; the second may be null.
struct GroupWord {
    std::array<const char*, 2> names;
    void (*take)(const ifstGroupFrontEnd& frontEnd);
};
std::span<const GroupWord> ifstGroupWords();

// Selects the word's test or sets its option; one of ifstParseStatus. Ends the process with status
// 251 when the user is not root.
I16 ifstParseGroupWord(const ifstGroupFrontEnd& frontEnd, ifstTstGroup* group, const char* word);

// Not 0 when the word is taken as a value for an argument of the current test's own.
int ifstParseTestParam(const ifstGroupFrontEnd& frontEnd, ifstTstGroup* group, const char* word);

// Puts the group in the initialised state for a card.
I16 ifstInitGroup(const ifstGroupFrontEnd& frontEnd, ifstTstGroup* group);

// Lets the group run when the card is in normal mode; else the group is skipped on this card.
I16 ifstConfigureForNormalMode(const ifstGroupFrontEnd& frontEnd, ifstTstGroup* group);

I16 ifstCleanGroup(ifstTstGroup* group);

// The functions of the group that `frontEnd` describes, as the table of groups names them.
template <const ifstGroupFrontEnd& frontEnd>
struct ifstGroupFunctions {
    static I16 Parse(ifstTstGroup* group, char* word) {
        return ifstParseGroupWord(frontEnd, group, word);
    }
    static int ParseTestParam(ifstTstGroup* group, char* word) {
        return ifstParseTestParam(frontEnd, group, word);
    }
    static I16 Init(ifstTstGroup* group) { return ifstInitGroup(frontEnd, group); }
    static I16 CfgForNormalMode(ifstTstGroup* group) {
        return ifstConfigureForNormalMode(frontEnd, group);
    }
};

// The usage's lines "        -short or -long : description", one a test.
void ifstPrintTestList(const ifstGroupFrontEnd& frontEnd);

// The usage that all groups but Memory have. `note` follows the group's line at once; or null.
void ifstPrintUsage(const ifstGroupFrontEnd& frontEnd, const char* title, const char* groupLine,
                    const char* note);

// Everything that a parse can set begins from its initial value: each parse gives the same result.
void ifstResetParsedOptions();
