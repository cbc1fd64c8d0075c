// Texts that the tests of the documents read: files of the project, what programs print, manual pages.
#pragma once

#include <set>
#include <string>
#include <vector>

// A file of the project, by its path in it. Throws when there is none.
std::string ReadProjectFile(const std::string& path);

std::vector<std::string> SplitLines(const std::string& text);
std::string Trimmed(const std::string& text);

struct Printed {
    int status;
    std::string text;  // on standard output and standard error
};

// Runs a program of this machine, or one of the build tree that stands in bin/.
Printed RunProgram(const std::vector<std::string>& words);

// A manual page as it is built.
std::string PageFile(const std::string& page);

// What stands in a page as an option, at the head of each entry of its lists.
std::vector<std::vector<std::string>> OptionEntries(const std::string& page);

// The page as a reader sees it, on lines of any length, without bold and underline.
std::string PlainPage(const std::string& page);

// Whether the word stands in the text, not as a part of a longer one; letter case aside.
bool HoldsWord(const std::string& text, const std::string& word);
