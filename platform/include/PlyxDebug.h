// libPlyxDebug: trace records of the tool.
//
// One object exists, reached through `plyxDbg`; it is ready before main and is never destroyed. Every
// operation may be called from any thread.
//
// Every record goes to the print callback, whatever its level. Beyond that a record goes to standard
// error when its level is at or below the threshold, as one write, so that records of two threads are
// never mixed. The threshold is DLVL_ERROR until SetLevel, or the environment variable
// PLYX_DEBUG_LEVEL (a number, or a level's name without its prefix in any letter case, such as
// "diag2"), says otherwise; the variable is read once, before the first record.
//
// DLVL_TOOLS is text that an operator asked for: it goes to standard output, in order with what the
// program itself prints there, unless PLYX_DEBUG_LEVEL is "none".
#pragma once

#include "ZelTypes.h"

enum DebugLevel {
    DLVL_UNDEFINED = 0,
    DLVL_CRITICAL = 1,
    DLVL_ERROR = 2,
    DLVL_WARNING = 3,
    DLVL_TRACE = 4,
    DLVL_INFO = 5,
    DLVL_INFO_2 = 6,
    DLVL_TRACE_ARG = 7,
    DLVL_DIAG1 = 8,
    DLVL_DIAG2 = 9,
    DLVL_DIAG3 = 10,
    DLVL_TOOLS = 11,
    DLVL_NUM_LEVELS = 12
};

// A trace call site. Each site owns one static record; the library only reads it, during the call.
struct PlyxDebugInfo {
    I32 m_id;
    U32 m_lineNum;
    const char* m_pFileName;
    bool m_isRelease;
    I32 m_bAssertEnabled;
};

class PlyxDebug {
public:
    virtual void SetLevel(DebugLevel level) = 0;

    // `callback` receives every record from now on, already formatted, as the one argument of the
    // format "%s"; null ends it.
    virtual void SetPrintCallback(void (*callback)(const char* format, ...)) = 0;

    // Prints one record; `format` and its arguments are those of printf. The text is printed as it
    // stands, no line end is added.
    virtual void Print(PlyxDebugInfo& site, DebugLevel level, const char* format, ...)
        __attribute__((format(printf, 4, 5))) = 0;

protected:
    ~PlyxDebug() = default;
};

extern PlyxDebug* plyxDbg;
