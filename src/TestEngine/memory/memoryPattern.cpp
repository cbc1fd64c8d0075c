// Patterns: one element of 1, 2, 4 or 8 bytes, repeated.
#include "TestEngine/memory/memoryPattern.h"

void fillPattern(void* dst, const void* pattern, unsigned int dataWidth, unsigned int length) {
    switch (dataWidth) {
        case sizeof(U8):
            CMemData<unsigned char>::copyPattern(dst, pattern, dataWidth, length);
            return;
        case sizeof(U16):
            CMemData<unsigned short>::copyPattern(dst, pattern, dataWidth, length);
            return;
        case sizeof(U32):
            CMemData<unsigned int>::copyPattern(dst, pattern, dataWidth, length);
            return;
        case sizeof(U64):
            CMemData<unsigned long>::copyPattern(dst, pattern, dataWidth, length);
            return;
        default:
            return;
    }
}

int verifyData(const void* a, const void* b, unsigned int dataWidth) {
    switch (dataWidth) {
        case sizeof(U8):
        case sizeof(U16):
        case sizeof(U32):
        case sizeof(U64):
            return std::memcmp(a, b, dataWidth) == 0 ? 1 : 0;
        default:
            return 0;
    }
}
