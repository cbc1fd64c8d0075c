#include "Words.h"

#include <algorithm>
#include <cctype>
#include <set>

#include "TestEngine/TestGroups.h"
#include "TestEngine/memory/memory.h"
#include "TestEngine/te_main_cmdline.h"
#include "TestEngine/te_main_frontend.h"
#include "TestEngine/te_summary.h"

namespace {

DocGroup ReadGroup(const ifstTstGroup& row) {
    DocGroup group{row.shortNm, row.longNm, row.name, {}, {}};
    for (U16 i = 0; i < row.frontEnd->numTests; ++i) {
        const ifstTstCb& test = row.frontEnd->tests[i];
        group.tests.push_back({test.shortNm, test.longNm, test.brief});
        group.testTitles.emplace_back(test.tstDescr1);
    }
    return group;
}

template <typename Names>
std::vector<std::string> Present(const Names& names) {
    std::vector<std::string> present;
    for (const char* name : names) {
        if (name != nullptr)
            present.emplace_back(name);
    }
    return present;
}

// Options of the memory tests that do the same are one: they share the function that takes them.
void AddMemoryOptions(std::vector<DocOption>& options) {
    bool (*last)(const char* value) = nullptr;
    for (const MemoryOption& row : memory_Options()) {
        if (row.take == last)
            options.back().names.emplace_back(row.key);
        else
            options.push_back({{row.key}, Place::memory, true});
        last = row.take;
    }
}

std::vector<DocOption> ReadOptions() {
    std::vector<DocOption> options = {
        {{TE::k_SummaryOption}, Place::front, false},
        {{TE::k_DeviceListOption}, Place::front, false},
        {{k_HelpWord}, Place::help, false},
        {Present(k_DebugLevelNames), Place::group, true},
    };
    for (const CommandFlag& flag : ifstFlags())
        options.push_back({{flag.name}, Place::flag, false});
    for (const GroupWord& row : ifstGroupWords())
        options.push_back({Present(row.names), Place::group, false});
    AddMemoryOptions(options);
    for (const RunValue& row : ifstRunValues())
        options.push_back({Present(row.names), Place::refused, true});
    return options;
}

}  // namespace

const std::vector<DocGroup>& Groups() {
    static const std::vector<DocGroup> groups = [] {
        std::vector<DocGroup> all;
        for (const ifstTstGroup& row : ifstTstGrps)
            all.push_back(ReadGroup(row));
        return all;
    }();
    return groups;
}

const std::vector<DocOption>& Options() {
    static const std::vector<DocOption> options = ReadOptions();
    return options;
}

std::vector<std::string> DataWidths() {
    std::vector<std::string> names;
    for (const MemoryWidth& width : memory_Widths()) {
        names.emplace_back(width.name);
        names.emplace_back(width.shortName);
    }
    return names;
}

bool IsKnown(const std::string& word) {
    static const std::set<std::string> known = [] {
        std::set<std::string> words;
        for (const DocGroup& group : Groups()) {
            words.insert({Lower(group.shortName), Lower(group.longName)});
            for (const DocTest& test : group.tests)
                words.insert({Lower(test.shortName), Lower(test.longName)});
        }
        for (const DocOption& option : Options()) {
            for (const std::string& name : option.names) {
                if (option.place != Place::refused)
                    words.insert(Lower(name));
            }
        }
        return words;
    }();
    return known.contains(Lower(word));
}

std::string Lower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

void PrintTo(const DocGroup& group, std::ostream* out) {
    *out << group.shortName;
}

void PrintTo(const DocOption& option, std::ostream* out) {
    *out << option.names.front();
}
