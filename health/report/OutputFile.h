// A file that is written beside its place and put there when it is whole: who reads it sees the old one or the
// new one.
#pragma once

#include <string>
#include <string_view>

#include "run/Descriptor.h"

namespace zelhealth {

class OutputFile {
public:
    // "-" is standard output, which is written as things come; so is what is there and is no file, such as a
    // pipe. Throws std::runtime_error when it cannot be made.
    explicit OutputFile(const std::string& name);
    ~OutputFile();  // what was not committed goes
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    // The first error is kept for Commit.
    void Write(std::string_view text);

    // Throws std::runtime_error when not everything is written.
    void Commit();

private:
    void Flush();
    [[noreturn]] void Throw(int error) const;

    std::string name_;
    std::string place_;   // with links followed
    std::string beside_;  // empty where there is no place to put it
    Descriptor file_;
    std::string waiting_;
    int error_ = 0;
};

}  // namespace zelhealth
