// Memory testers of the host, measured on plain memory where they are installed.
#pragma once

#include <cstddef>
#include <optional>

// Bytes written and read back a second of processor time by memtester's Stuck Address test on `bytes` of memory; none
// when the program is not there or does not run.
std::optional<double> MeasureMemtester(std::size_t bytes);

// The same of stressapptest with one thread that copies: half of what it reports, which counts each
// copied byte twice.
std::optional<double> MeasureStressapptest(std::size_t bytes);
