// A list of allowed identity values from the settings file.
#include "TestEngine/PCIExpress/AllowedValues.h"

#include <algorithm>

#include "Settings.h"

int AllowedValues::Read(const char* key) {
    int found = k_MaxValues;
    const int status = settings->GetWords("pcieConfigReg", key, &found, values_.data());
    // The file may hold more values than were asked for; only the capacity was filled.
    count_ = status == 0 ? std::clamp(found, 0, k_MaxValues) : 0;
    return status;
}

bool AllowedValues::Holds(U32 value) const {
    const auto end = values_.begin() + count_;
    return std::find(values_.begin(), end, value) != end;
}
