// The trace object: formats records and passes them to the callback, standard error and standard
// output.
//
// Safe to use from any thread, also from the callback itself. A record leaves errno alone, and a
// thread is not cancelled in the middle of one.
#pragma once

#include <atomic>
#include <mutex>
#include <string_view>

#include "PlyxDebug.h"
#include "TraceLevel.h"

class TraceLog final : public PlyxDebug {
public:
    explicit TraceLog(TraceConfig config) : silent_(config.silent), threshold_(config.threshold) {}

    void SetLevel(DebugLevel level) override { threshold_ = level; }
    void SetPrintCallback(void (*callback)(const char* format, ...)) override {
        callback_ = callback;
    }
    void Print(PlyxDebugInfo& site, DebugLevel level, const char* format, ...) override
        __attribute__((format(printf, 4, 5)));

private:
    bool GoesToOutput(DebugLevel level) const { return !silent_ && level == DLVL_TOOLS; }
    bool GoesToError(DebugLevel level) const {
        return !silent_ && level != DLVL_TOOLS && level <= threshold_;
    }
    void WriteToError(std::string_view text);

    const bool silent_;
    std::atomic<int> threshold_;
    std::atomic<void (*)(const char* format, ...)> callback_{nullptr};
    std::mutex errorLock_;
};
