// The tool's process-wide state: its prescribed globals, put back to what a process begins with.
#pragma once

// The tables of groups and tests with the front ends' own data, the run's parameters and data log, the
// summary, the card access, the memory options, and which group and test run. Nothing is closed or
// freed: what a test has opened it closes.
void ResetToolState();
