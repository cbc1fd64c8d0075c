// Integer names that every platform interface uses. All widths are exact and all records that are
// built from them have natural alignment.
#pragma once

#include <cstdint>

using U8 = std::uint8_t;
using U16 = std::uint16_t;
using U32 = std::uint32_t;
using U64 = std::uint64_t;
using I8 = std::int8_t;
using I16 = std::int16_t;
using I32 = std::int32_t;
using I64 = std::int64_t;

using S8t = char;
using DWORD = std::uint32_t;
using HANDLE = void*;
