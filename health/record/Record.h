// What happens in a run, told once: records, each one JSON object of bounded size. All that a person or a
// machine sees is made of them by readers, and of nothing else. docs/zelhealth-stream.schema.json says
// which fields each kind has.
#pragma once

#include <cstddef>
#include <mutex>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

namespace zelhealth {

// Fields keep their order, so that a stream can be read by people too.
using Json = nlohmann::ordered_json;

constexpr int kSchema = 1;

// Looks at records as they come, one at a time. `record` has all fields of the stream.
class RecordReader {
public:
    virtual ~RecordReader() = default;
    virtual void Read(const Json& record) = 0;
};

// Gives each record what all have, and hands it to each reader in turn. From any thread.
class Recorder {
public:
    // A new run with an id of its own on this host, which Slurm may have given a name.
    explicit Recorder(std::vector<RecordReader*> readers);

    // `fields` begins with "record", the kind.
    void Write(const Json& fields);

    const std::string& RunId() const { return run_; }
    const std::string& Host() const { return host_; }

private:
    std::vector<RecordReader*> readers_;
    std::string run_;
    std::string host_;
    std::mutex mutex_;
};

// Text of any length and with any bytes, cut to a bounded length.
std::string Bounded(std::string_view text, std::size_t bytes = 1024);

// Lines of any number, cut to a bounded number of bounded ones: beginning and end, with a line between that
// says how many are missing. Empty lines of a text are left out.
Json BoundedLines(std::string_view text, std::size_t lines);
Json BoundedLines(const std::vector<std::string>& texts, std::size_t lines);

// The line of a stream, without its line end: whatever bytes the texts hold.
std::string Line(const Json& record);

// Whether a card stands in front of another in what people read: zel9 in front of zel10.
bool ComesFirst(std::string_view card, std::string_view other);

}  // namespace zelhealth
