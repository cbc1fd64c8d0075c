// Writes records to a file, a line each, as they come. A run that is killed leaves a stream that is whole
// up to its last line.
#pragma once

#include <optional>
#include <string>

#include "record/Record.h"
#include "run/Descriptor.h"

namespace zelhealth {

class Stream : public RecordReader {
public:
    // "-" is standard output. Throws std::runtime_error when the file cannot be made; one that is there
    // is replaced.
    explicit Stream(const std::string& file);

    void Read(const Json& record) override;

    // What went wrong with any record; null when every one is written. The run goes on without a stream.
    const std::optional<std::string>& Error() const { return error_; }

    // Flushes to the disk, after the last record.
    void Close();

private:
    void Fail(int error);

    std::string name_;
    Descriptor file_;
    std::optional<std::string> error_;
};

}  // namespace zelhealth
