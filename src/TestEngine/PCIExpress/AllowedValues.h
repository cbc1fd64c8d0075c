// A list of allowed identity values from the settings file.
#pragma once

#include <array>

#include "ZelTypes.h"

class AllowedValues {
public:
    static constexpr int k_MaxValues = 50;

    // Reads the list of `key` in the section of the PCIe registers; returns the library's status, 0
    // on success. A list without values is read successfully and holds nothing.
    int Read(const char* key);

    bool Holds(U32 value) const;

private:
    std::array<U32, k_MaxValues> values_{};
    int count_ = 0;
};
