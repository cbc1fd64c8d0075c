// Patterns: one element of 1, 2, 4 or 8 bytes, repeated.
#pragma once

#include <cstring>

#include "ZelTypes.h"

template <typename T>
class CMemData {
public:
    // Fills `length` / `dataWidth` elements of `dst` with the first element of `pattern`. Nothing is
    // written when the width is not that of T or the length holds no element.
    static void copyPattern(void* dst, const void* pattern, unsigned int dataWidth,
                            unsigned int length) {
        if (dataWidth != sizeof(T))
            return;
        T element;
        std::memcpy(&element, pattern, sizeof(T));
        auto* bytes = static_cast<unsigned char*>(dst);
        for (unsigned int count = length / sizeof(T); count > 0; --count, bytes += sizeof(T))
            std::memcpy(bytes, &element, sizeof(T));
    }
};

// copyPattern at the width; nothing is written at a width other than 1, 2, 4 and 8.
void fillPattern(void* dst, const void* pattern, unsigned int dataWidth, unsigned int length);

// Whether one element is the same in both; 0 at a width other than 1, 2, 4 and 8.
int verifyData(const void* a, const void* b, unsigned int dataWidth);
