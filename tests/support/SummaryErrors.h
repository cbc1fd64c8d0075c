// The summary as a test sees it.
#pragma once

#include <string>
#include <vector>

// The error lines that the summary holds, without their indent ("CoreDiag.CPUID: ...").
std::vector<std::string> SummaryErrors();
