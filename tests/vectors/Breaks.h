// The ways in which a vector instruction can be made to do something else, in the bytes that it has.
#pragma once

#include <string>
#include <vector>

#include "Encoding.h"

struct Break {
    const char* what;
    Bytes bytes;
};

struct Breaks {
    const char* kind = "other";  // of the operation: "add", "fused multiply-add"
    std::vector<Break> ways;
};

Breaks BreaksOf(const Bytes& bytes, const Encoding& encoding);
