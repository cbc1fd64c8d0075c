// The texts in quotes of a C++ source.
#pragma once

#include <string>
#include <vector>

// Each text as the compiler sees it: neighbours joined, escapes replaced. Comments, character constants and
// names of headers are left out.
std::vector<std::string> ReadLiterals(const std::string& source);
