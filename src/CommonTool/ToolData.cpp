// Readers of typed task arguments.
#include "CommonTool/ToolData.h"

#include <cstdio>
#include <cstring>
#include <exception>

#include "CommonTool/Trace.h"
#include "SI/cm_stub0.h"

namespace {

constexpr char kDecimalDigits[] = "0123456789";
constexpr char kHexDigits[] = "0123456789abcdefABCDEF";

bool HasHexPrefix(const char* text) {
    return text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
}

bool ConsistsOf(const char* text, const char* characters) {
    return text[std::strspn(text, characters)] == '\0';
}

[[noreturn]] void Refuse(const char* message) {
    ZEL_TRACE(DLVL_ERROR, "%s", message);
    throw std::exception();
}

void ExpectType(const ActualArg& a, ArgType type, const char* message) {
    if (a.Type != type)
        Refuse(message);
}

}  // namespace

const char* Get_string(ActualArg& a) {
    ExpectType(a, ARGTYPE_STRING, "Passed wrong argument for char *\n");
    return a.Value;
}

float Get_float(ActualArg& a) {
    ExpectType(a, ARGTYPE_FLOAT, "Passed wrong argument for float\n");
    float value = 0.0F;
    return std::sscanf(a.Value, "%f", &value) == 1 ? value : 0.0F;
}

bool Get_bool(ActualArg& a) {
    ExpectType(a, ARGTYPE_BOOL, "Passed wrong argument for bool\n");
    if (cmStringCmp(a.Value, "true") == 0)
        return true;
    if (cmStringCmp(a.Value, "false") == 0)
        return false;
    Refuse("Invalid Parameter, expected only 'true' or 'false'\n");
}

int Get_int(ActualArg& a) {
    constexpr char kWrong[] = "Passed wrong argument for int\n";
    ExpectType(a, ARGTYPE_INT, kWrong);

    if (HasHexPrefix(a.Value)) {
        if (!ConsistsOf(a.Value + 2, kHexDigits)) {
            ZEL_TRACE(DLVL_ERROR, "%s: is an invalid parameter, expecting a hexadecimal integer\n",
                      a.Value);
            throw std::exception();
        }
        unsigned int value = 0;
        // The prefix is skipped here: whether "0x" alone scans as a number differs between C libraries.
        if (std::sscanf(a.Value + 2, "%x", &value) != 1)
            Refuse(kWrong);
        return static_cast<int>(value);
    }

    int value = 0;
    if (std::sscanf(a.Value, "%d", &value) != 1)
        Refuse(kWrong);
    return value;
}

U64 Get_U64(ActualArg& a) {
    constexpr char kInvalid[] = "%s: is an invalid parameter, expecting an integer\n";
    if (a.Type != ARGTYPE_U64) {
        ZEL_TRACE(DLVL_ERROR, "Passed wrong argument for int\n");
        return 0;
    }

    const bool hexadecimal = HasHexPrefix(a.Value);
    if (a.Value[0] == '0' && !hexadecimal)
        return 0;
    if (!ConsistsOf(hexadecimal ? a.Value + 2 : a.Value,
                    hexadecimal ? kHexDigits : kDecimalDigits)) {
        ZEL_TRACE(DLVL_ERROR, kInvalid, a.Value);
        throw std::exception();
    }

    unsigned long hexValue = 0;
    long value = 0;
    if (hexadecimal)
        return std::sscanf(a.Value, "%lx", &hexValue) == 1 ? hexValue : 0;
    return std::sscanf(a.Value, "%ld", &value) == 1 ? static_cast<U64>(value) : 0;
}
