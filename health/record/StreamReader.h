// Reads stored streams, which may be cut, damaged, hostile, of any size, and of another version. What can be read
// is handed out; what cannot is told with file and line.
//
//     StreamReader reader("a.jsonl", tell, {});
//     for (Json record; reader.Next(record);) { ... }
//
// A record that is handed out is an object of bounded size with the texts "record" and "run"; a field that
// Fields.h knows has the type that it has there, or is missing. Fields and kinds that are not known stay.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "record/Record.h"
#include "run/Stop.h"

namespace zelhealth {

// What is wrong with a stream.
struct StreamProblem {
    std::string file;
    std::uint64_t line = 0;  // the first is 1; 0 for the whole file
    std::string what;
    bool lost = true;  // something could not be read; otherwise it is only worth knowing

    // "a.jsonl:17: is no record: ..."
    std::string Text() const;
};

struct StreamOptions {
    // The evidence of tests that passed is most of a stream, and seldom looked at.
    bool evidenceOfPassed = false;

    // Ends the stream as if it were cut there; may be null.
    const Stop* stop = nullptr;
};

class StreamReader {
public:
    using Tell = std::function<void(const StreamProblem&)>;

    // "-" is standard input. A file that cannot be read is told, and has no records. Of the problems with
    // lines the first few are told, and then how many more there are.
    StreamReader(const std::string& file, Tell tell, const StreamOptions& options);
    ~StreamReader();
    StreamReader(const StreamReader&) = delete;
    StreamReader& operator=(const StreamReader&) = delete;

    // False at the end. Throws nothing but what lack of memory throws.
    bool Next(Json& record);

    // The line of the last record.
    std::uint64_t Line() const;

    // Tells something about the last record, and about others like it, that only its reader knows: the same once.
    void TellOfRecord(const std::string& what);

private:
    struct Inner;
    std::unique_ptr<Inner> inner_;
};

}  // namespace zelhealth
