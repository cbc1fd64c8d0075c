// The program's three ways of printing. Used from the main thread.
//
//   ifstPrint   the engine's and the tests' lines: standard output unless quiet, and the data log
//   IFSTDISP    text that an operator asked for: standard output, quiet or not, whole lines only
//   DPF_PRINT   trace records, from the debug-trace library: the data log only
#pragma once

#include "ZelTypes.h"

// Lines of 72 characters that set off cards and groups.
extern const char k_SingleRule[73];
extern const char k_DoubleRule[73];

// Prints to standard output unless bQuietMode is set, and to the data log when one is open.
void ifstPrint(const char* format, ...) __attribute__((format(printf, 1, 2)));

// Formats into at most 10239 characters and prints the lines as DISPLINES does.
void IFSTDISP(const char* format, ...) __attribute__((format(printf, 1, 2)));

// Prints every line of `text` that has its line end and at most 1024 characters; stops before the
// first that has not. Text behind the last line end is not printed.
void DISPLINES(char* text);

// Copies the first line of `text`, without line end or terminator, into `line`. `*maxLength` is the
// limit on entry and the line's length on return. 0, and nothing copied, when there is no line end,
// the line is longer than the limit, or either text is null; else 1.
int DISP_GET_LINE(char* text, char* line, U32* maxLength);

// Writes a trace record to the data log when one is open. The formatted text is interpreted as a
// format once more, so that "%%" of a record reads "%".
void DPF_PRINT(const char* format, ...) __attribute__((format(printf, 1, 2)));
