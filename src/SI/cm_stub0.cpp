// Common helpers for texts and numbers.
#include "SI/cm_stub0.h"

#include <strings.h>

#include <cctype>
#include <cstring>

#include "SI/si_main.h"

namespace {

ssText LowerCaseCopy(const char* text) {
    ssText copy = ssTextAlloc(static_cast<int>(cmFindStrLength(text)) + 1);
    if (copy) {
        cmStringCopy(copy.get(), text);
        cmConvertStrToLower(copy.get());
    }
    return copy;
}

// The value of a hexadecimal digit, -1 for any other character.
int HexDigit(char digit) {
    if (digit >= '0' && digit <= '9')
        return digit - '0';
    if (digit >= 'a' && digit <= 'f')
        return digit - 'a' + 10;
    if (digit >= 'A' && digit <= 'F')
        return digit - 'A' + 10;
    return -1;
}

bool HasHexPrefix(const char* text) {
    return text[0] == '0' && text[1] == 'x';
}

template <typename Number>
int ConvertHex(const char* text, Number* value) {
    Number result = 0;
    for (const char* p = HasHexPrefix(text) ? text + 2 : text; *p != '\0'; ++p) {
        const int digit = HexDigit(*p);
        if (digit < 0)
            return 1;
        result = static_cast<Number>(result << 4) | static_cast<Number>(digit);
    }
    *value = result;
    return 0;
}

template <typename Number>
Number Power(Number base, I32 exp) {
    Number result = 1;
    for (I32 i = 0; i < exp; ++i)
        result *= base;
    return result;
}

}  // namespace

void cmStringCopy(char* dst, const char* src) {
    std::strcpy(dst, src);
}

void cmStringCat(char* dst, const char* src) {
    std::strcat(dst, src);
}

U32 cmFindStrLength(const char* text) {
    return static_cast<U32>(std::strlen(text));
}

int cmStringCmp(const char* a, const char* b) {
    return strcasecmp(a, b);
}

const char* cmFindFirstString(const char* text, const char* part) {
    if (text == nullptr || part == nullptr)
        return nullptr;
    const ssText lowText = LowerCaseCopy(text);
    const ssText lowPart = LowerCaseCopy(part);
    if (!lowText || !lowPart)
        return nullptr;
    const char* found = std::strstr(lowText.get(), lowPart.get());
    return found == nullptr ? nullptr : text + (found - lowText.get());
}

char* strlwr(char* text) {
    for (char* p = text; *p != '\0'; ++p)
        *p = static_cast<char>(std::tolower(static_cast<unsigned char>(*p)));
    return text;
}

void cmConvertStrToLower(char* text) {
    strlwr(text);
}

U32 cmBaseToPower(U32 base, I32 exp) {
    return Power(base, exp);
}

U64 cm64BaseToPower(U64 base, I32 exp) {
    return Power(base, exp);
}

void cmConvertU32ToStr(U32 value, char* out) {
    U32 digits = 1;
    for (U32 rest = value / 10; rest != 0; rest /= 10)
        ++digits;
    cmConvertU32ToStrLZ(value, out, digits + 1);
}

int cmConvertU32ToStrLZ(U32 value, char* out, U32 size) {
    if (size < 2) {
        out[0] = '\0';
        return value != 0 ? 1 : 0;
    }
    out[size - 1] = '\0';
    for (U32 i = size - 1; i-- > 0; value /= 10)
        out[i] = static_cast<char>('0' + value % 10);
    return value != 0 ? 1 : 0;
}

int cmConvertChar2U32(const char* text, U32* value) {
    *value = 0;
    if (HasHexPrefix(text))
        return cmConvertChar2HexU32(text, value);

    U32 result = 0;
    for (const char* p = text; *p != '\0'; ++p) {
        if (*p < '0' || *p > '9')
            return 1;
        result = result * 10 + static_cast<U32>(*p - '0');
    }
    *value = result;
    return 0;
}

int cmConvertChar2HexU32(const char* text, U32* value) {
    return ConvertHex(text, value);
}

int cmConvertChar2HexU64(const char* text, U64* value) {
    return ConvertHex(text, value);
}

int cmSplitAndStore(const char* text, char separator, char* name, char* value) {
    const char* split = std::strchr(text, separator);
    if (split == nullptr)
        return 1;
    const auto length = static_cast<std::size_t>(split - text);
    std::memcpy(name, text, length);
    name[length] = '\0';
    cmStringCopy(value, split + 1);
    return 0;
}
