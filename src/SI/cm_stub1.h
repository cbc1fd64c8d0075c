// Common helpers for files, characters and time.
#pragma once

#include <cstdio>

#include "ZelTypes.h"

// A local time as texts, each NUL-terminated; empty until cmGetSysTimeStr has filled it.
struct cmSDate {
    char sDay[3];
    char sMonth[3];
    char sYear[5];
    char sHour[3];
    char sMin[3];
    char sSec[3];
    char sWDay[3];
    char sTime[9];   // "18:05:09"
    char sDate[15];  // "Th, 3-7-2013": weekday, month, day, year
};

using cmStrDate = cmSDate;

// Names of the days of the week, Sunday first.
extern const char cmStrDOW[7][3];

// fopen and fclose.
FILE* cmOpenFile(const char* path, const char* mode);
int cmCloseFile(FILE* file);

// Opens a regular file for reading; null for anything else, which is not opened: a FIFO would wait for
// a writer, and what a device gives may have no end.
FILE* cmOpenRegularFile(const char* path);

// Reads one character, EOF at the end; writes one to standard output.
int cmGetSChar(FILE* file);
int cmPutSChar(int character);

// Seconds since the epoch, cut to 32 bits.
U32 cmGetSysTimeInSec();

// Fills `out` with the present local time; leaves it alone when there is none.
void cmGetSysTimeStr(cmSDate* out);
