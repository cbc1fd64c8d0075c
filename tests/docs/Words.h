// The words of the command line as the tool's own tables hold them: what manual, help and completion are
// compared with.
#pragma once

#include <ostream>
#include <string>
#include <vector>

struct DocTest {
    std::string shortName;
    std::string longName;
    std::string brief;
};

struct DocGroup {
    std::string shortName;
    std::string longName;
    std::string title;
    std::vector<DocTest> tests;
    std::vector<std::string> testTitles;
};

enum class Place {
    front,    // in front of everything else
    flag,     // anywhere
    help,     // anywhere, until it is met
    group,    // behind a group
    memory,   // behind the Memory group
    refused,  // known, and refused
};

struct DocOption {
    std::vector<std::string> names;
    Place place;
    bool hasValue;
};

const std::vector<DocGroup>& Groups();
const std::vector<DocOption>& Options();
std::vector<std::string> DataWidths();

// Every word but the refused options, in lower case: letter case rarely matters, and a wrong one in a
// document is seen by the exact comparison of names.
bool IsKnown(const std::string& word);

std::string Lower(std::string text);

// How a failing test names its parameter.
void PrintTo(const DocGroup& group, std::ostream* out);
void PrintTo(const DocOption& option, std::ostream* out);
