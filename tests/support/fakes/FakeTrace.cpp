// The recording trace object.
#include "FakeTrace.h"

#include <cstdarg>
#include <cstdio>

#include "Journal.h"

namespace fakes {

FakeTrace& Trace() {
    static FakeTrace* const fake = new FakeTrace;  // outlives every static object of the program
    return *fake;
}

std::vector<TraceRecord> FakeTrace::Records() {
    const std::lock_guard lock(lock_);
    return records_;
}

std::vector<std::string> FakeTrace::TextsAt(DebugLevel level) {
    std::vector<std::string> texts;
    for (const TraceRecord& record : Records()) {
        if (record.level == level) {
            texts.push_back(record.text);
        }
    }
    return texts;
}

void (*FakeTrace::Callback())(const char* format, ...) {
    const std::lock_guard lock(lock_);
    return callback_;
}

DebugLevel FakeTrace::Level() {
    const std::lock_guard lock(lock_);
    return level_;
}

void FakeTrace::Reset() {
    const std::lock_guard lock(lock_);
    records_.clear();
    callback_ = nullptr;
    level_ = DLVL_UNDEFINED;
}

void FakeTrace::SetLevel(DebugLevel level) {
    TheJournal().Add("plyxDbg.SetLevel(" + std::to_string(level) + ")");
    const std::lock_guard lock(lock_);
    level_ = level;
}

void FakeTrace::SetPrintCallback(void (*callback)(const char* format, ...)) {
    TheJournal().Add("plyxDbg.SetPrintCallback()");
    const std::lock_guard lock(lock_);
    callback_ = callback;
}

void FakeTrace::Print(PlyxDebugInfo& site, DebugLevel level, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, arguments);
    std::string text(static_cast<std::size_t>(length > 0 ? length : 0), '\0');
    std::vsnprintf(text.data(), text.size() + 1, format, again);
    va_end(again);
    va_end(arguments);

    TheJournal().Add("trace " + std::to_string(level) + " " + Quote(text));
    void (*callback)(const char*, ...) = nullptr;
    {
        const std::lock_guard lock(lock_);
        records_.push_back(
            {level, text, site.m_lineNum, site.m_pFileName == nullptr ? "" : site.m_pFileName});
        callback = callback_;
    }
    if (callback != nullptr) {
        callback("%s", text.c_str());
    }
}

}  // namespace fakes

PlyxDebug* plyxDbg = &fakes::Trace();
