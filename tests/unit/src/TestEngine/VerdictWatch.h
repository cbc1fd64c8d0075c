// In which order a test gives its verdict and tells the summary.
#pragma once

#include <cstdio>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include "TestEngine/te_summary.h"

// The error lines that the summary holds.
inline std::vector<std::string> SummaryErrors() {
    std::string name = "x";
    std::string option = "-summary";
    char* argv[] = {name.data(), option.data(), nullptr};
    int consumed = 0;
    TE::TESummary copy = TE::SUMMARY_INSTANCE;
    copy.ProcessGlobalOptions(2, argv, &consumed);
    std::ostringstream text;
    std::streambuf* const before = std::cout.rdbuf(text.rdbuf());
    copy.SendSummaryToConsole();
    std::cout.rdbuf(before);
    std::istringstream summary(text.str());
    std::vector<std::string> errors;
    for (std::string line; std::getline(summary, line);) {
        if (line.starts_with("  "))
            errors.push_back(line);
    }
    return errors;
}

inline std::size_t CountSummaryErrors() {
    return SummaryErrors().size();
}

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
            watch.errors_ = static_cast<int>(CountSummaryErrors());
        return static_cast<ssize_t>(size);
    }

    FILE* before_;
    int errors_ = -1;
};
