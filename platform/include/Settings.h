// libSettings: reads the text file Settings.ini.
//
// One object exists, reached through `settings`; it is ready before main and is never destroyed. The
// operations are called from one thread at a time. Every operation returns 0 on success.
//
// A value list stands on one line, its values separated by commas and optional blanks:
//
//     [pcieConfigReg]
//     deviceID = 0x00501F5A, 0x00401F5A
//
// A comment begins with ';' or '#', at the start of a line or after a blank. A value that holds a
// comma, or a blank at an end, stands in double quotes. A key may be given once only.
//
// Section and key names compare with case. A file that does not parse, or a value that is not a
// number where numbers are asked for, gives a non-zero result and one line on standard error that
// names the file, the line and the fault.
#pragma once

#include "ZelTypes.h"

class Settings {
public:
    // Reads `directory`/Settings.ini, replacing everything that was loaded before. On failure nothing
    // is loaded.
    virtual int Load(const char* directory) = 0;

    // Reads the numbers of a key: decimal, or hexadecimal after "0x", each at most 32 bits wide.
    // `*count` is the capacity of `values` on entry and the number of values in the file on return,
    // which may exceed the capacity; only the capacity is filled. A key without values succeeds with
    // 0; a missing section or key fails and leaves `*count` 0.
    virtual int GetWords(const char* section, const char* key, int* count, U32* values) = 0;

    // Reads the texts of a key, blanks around each removed; otherwise as GetWords. The texts belong
    // to the library and stay valid until the next Load.
    virtual int GetStrings(const char* section, const char* key, int* count,
                           const char** texts) = 0;

protected:
    ~Settings() = default;
};

extern Settings* settings;
