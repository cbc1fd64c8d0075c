// Stands in for libPlyxDebug: keeps every record and passes it to the callback, prints nothing.
#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "PlyxDebug.h"

namespace fakes {

struct TraceRecord {
    DebugLevel level;
    std::string text;
    U32 line;  // of the call site
    std::string file;

    bool operator==(const TraceRecord&) const = default;
};

class FakeTrace final : public PlyxDebug {
public:
    std::vector<TraceRecord> Records();

    // The texts of all records at `level`.
    std::vector<std::string> TextsAt(DebugLevel level);

    void (*Callback())(const char* format, ...);

    // The level of the last SetLevel, DLVL_UNDEFINED before any.
    DebugLevel Level();

    void Reset();

    void SetLevel(DebugLevel level) override;
    void SetPrintCallback(void (*callback)(const char* format, ...)) override;
    void Print(PlyxDebugInfo& site, DebugLevel level, const char* format, ...) override
        __attribute__((format(printf, 4, 5)));

private:
    std::mutex lock_;
    std::vector<TraceRecord> records_;
    void (*callback_)(const char* format, ...) = nullptr;
    DebugLevel level_ = DLVL_UNDEFINED;
};

FakeTrace& Trace();

}  // namespace fakes
