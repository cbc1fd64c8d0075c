// What a memory test shows while it runs and how long it took.
#pragma once

#include <sys/time.h>

#include <string_view>

// Traces a mark for the operator's patience: "||" on every 16th call that has `tick`, else ".".
// `reset` only begins the count anew.
void updateUser(bool reset, bool tick);

// The present time; 1. On failure 0, a line on standard output and one in the run summary.
int markTime(timeval& now);

// Prints the time from `start` to `end` behind `label`: minutes and seconds, or milliseconds when
// both lie in the same second. Prints nothing unless `print`.
void diffTime(timeval start, timeval end, std::string_view label, bool print);
