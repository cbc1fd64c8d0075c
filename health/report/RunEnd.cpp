#include "report/RunEnd.h"

#include <algorithm>
#include <array>

#include "readers/Outcome.h"
#include "record/Fields.h"
#include "report/Cells.h"

namespace zelhealth {

namespace {

constexpr std::string_view kUnknownVerdict = "unknown";

}  // namespace

void RunEnd::Read(const Json& record) {
    if (const std::string& time = TextOf(record, "time"); time != last_) {
        last_ = ShortName(time);
        began_ = began_.empty() ? last_ : began_;
    }
    const std::string& kind = TextOf(record, "record");
    isUnknown_ = isUnknown_ ||
                 (kind == "test_finished" && KnownVerdict(record) == kUnknownVerdict) ||
                 (kind == "card_finished" && TextOf(record, "verdict") == kUnknownVerdict);
    if (kind != "run_finished") {
        return;
    }
    finished_ = true;
    seconds_ = NumberOf(record, "seconds");
    const auto status = record.find("status");
    status_ =
        status == record.end() ? static_cast<int>(zelhealth::Status::unknown) : status->get<int>();
    if (isUnknown_) {
        status_ = static_cast<int>(
            Worse(static_cast<zelhealth::Status>(status_), zelhealth::Status::unknown));
    }
    // What the verdict is of, and not what it says: the two cannot differ.
    verdict_ = VerdictOf(static_cast<zelhealth::Status>(status_));
}

}  // namespace zelhealth
