// Common helpers for texts and numbers. They work on NUL-terminated character arrays that the caller
// owns and none of them allocates, but for cmFindFirstString, which does so for its own use.
#pragma once

#include "ZelTypes.h"

// Copies or appends `src` with its terminator. `dst` must have the room: nothing is checked.
void cmStringCopy(char* dst, const char* src);
void cmStringCat(char* dst, const char* src);

U32 cmFindStrLength(const char* text);

// Compares ignoring case; 0 when equal.
int cmStringCmp(const char* a, const char* b);

// The position of `part` in `text`, ignoring case; null when it is not there, when either is null
// or when there is no memory to compare in.
const char* cmFindFirstString(const char* text, const char* part);

// Lower-case a text in place; both return or leave the text that they were given.
char* strlwr(char* text);
void cmConvertStrToLower(char* text);

// `base` to the power `exp` modulo 2^32 or 2^64; 1 when `exp` is below 1.
U32 cmBaseToPower(U32 base, I32 exp);
U64 cm64BaseToPower(U64 base, I32 exp);

// Decimal text without leading zeros; `out` holds at least 11 characters.
void cmConvertU32ToStr(U32 value, char* out);

// Exactly `size` - 1 digits with leading zeros, and the terminator. Returns 1 when the value has
// more digits, of which the higher ones are lost, else 0. A `size` of 0 writes the terminator too.
int cmConvertU32ToStrLZ(U32 value, char* out, U32 size);

// Number texts to values; 0 on success, 1 at the first character that is no digit. Too long numbers
// wrap. The empty text is 0.
//   cmConvertChar2U32: decimal, or hexadecimal after "0x"; on failure `*value` is 0.
//   the others: hexadecimal, "0x" optional; on failure `*value` is left as it was.
int cmConvertChar2U32(const char* text, U32* value);
int cmConvertChar2HexU32(const char* text, U32* value);
int cmConvertChar2HexU64(const char* text, U64* value);

// Splits `text` at its first `separator` into what stands before and behind it. Without one: returns
// 1 and leaves the outputs alone; else 0. Either output must hold as many characters as `text`.
int cmSplitAndStore(const char* text, char separator, char* name, char* value);
