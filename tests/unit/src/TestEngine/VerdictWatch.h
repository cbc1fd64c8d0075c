// In which order a test gives its verdict and tells the summary.
#pragma once

#include <cstdio>

#include "SummaryErrors.h"

// Stands in for standard error, and counts the errors of the summary when the verdict is written.
class VerdictWatch {
public:
    VerdictWatch() : before_(stderr) {
        stderr = fopencookie(this, "w",
                             {.read = nullptr, .write = Write, .seek = nullptr, .close = nullptr});
        std::setvbuf(stderr, nullptr, _IOLBF, BUFSIZ);
    }
    VerdictWatch(const VerdictWatch&) = delete;
    VerdictWatch& operator=(const VerdictWatch&) = delete;
    ~VerdictWatch() {
        std::fclose(stderr);
        stderr = before_;
    }

    // -1 when no verdict was written.
    int ErrorsBefore() const { return errors_; }

private:
    static ssize_t Write(void* cookie, const char*, std::size_t size) {
        auto& watch = *static_cast<VerdictWatch*>(cookie);
        if (watch.errors_ < 0)
            watch.errors_ = static_cast<int>(SummaryErrors().size());
        return static_cast<ssize_t>(size);
    }

    FILE* before_;
    int errors_ = -1;
};
