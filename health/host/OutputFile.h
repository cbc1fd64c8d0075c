// A file that is there as a whole or not at all: it is written without a name, and put in its place when it is
// whole. Who reads it sees the old one or the new one, and who is killed while writing leaves nothing, but where
// the file system knows no file without a name: there it has one beside its place.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "run/Descriptor.h"

namespace zelhealth {

class OutputFile {
public:
    // Whether a file that was committed is whole after a loss of power, too; that takes the disk's time.
    enum class Durability { none, contents };

    // A link stays one: what it leads to is replaced, there or not. A new file is for all to read, and one that
    // was there keeps its permissions. "-" is standard output, which is written as things come; so is another
    // descriptor of this process (/dev/stdout, /dev/fd/3), and what is there and is no file, such as a pipe.
    // Throws std::runtime_error when it cannot be made.
    explicit OutputFile(const std::string& name);
    ~OutputFile();  // what was not committed goes
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    // The first error is kept for Commit.
    void Write(std::string_view text);

    // Throws std::runtime_error when not everything is written.
    void Commit(Durability durability = Durability::contents);

private:
    void Make(mode_t mode);
    void Flush();
    bool Place();
    [[noreturn]] void Throw(int error) const;

    std::string name_;
    std::filesystem::path place_;  // with links followed
    bool isPlaced_ = false;        // what is written goes there at the end, and not at once
    std::string beside_;           // the name that it has until then; empty while it has none
    Descriptor file_;
    std::string waiting_;
    int error_ = 0;
};

}  // namespace zelhealth
