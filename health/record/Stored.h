// The records of the last check of this host, kept so that a question that comes again soon need not be
// asked of the cards.
#pragma once

#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

#include "record/Record.h"

namespace zelhealth {

// Keeps the lines of a run in memory until it is over, and then replaces the stored one as a whole. A run
// that is broken off leaves the stored one as it is, and so does one that did not answer: what kept it from
// its tests may be gone when the question comes again. A bad card is an answer, whatever else was not asked.
class StoredRun : public RecordReader {
public:
    explicit StoredRun(std::filesystem::path file) : file_(std::move(file)) {}

    void Read(const Json& record) override;

    // Gives what went wrong, empty when nothing did. Where the answer cannot be kept, an older one is taken
    // away, which would be given in its place.
    std::string Store() const;

private:
    std::string Replace() const;

    std::filesystem::path file_;
    std::string lines_;
    bool finished_ = false;
    bool judged_ = true;    // every test until now
    bool answers_ = false;  // the question, whatever the answer
    bool tooMuch_ = false;
};

// The stored run, when it is whole and ended no longer ago than `age`; otherwise empty. One that ended in
// the future, by a clock that was set back, is too old, and so is one from before the last change in the
// configuration's folder, by which the same cards may be judged otherwise.
std::vector<Json> ReadStoredRun(const std::filesystem::path& file, std::chrono::milliseconds age,
                                const std::filesystem::path& configuration);

}  // namespace zelhealth
