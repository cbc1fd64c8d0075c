#include "readers/Outcome.h"

namespace zelhealth {

namespace {

int Weight(Status status) {
    switch (status) {
        case Status::ok:
            return 0;
        case Status::warning:
            return 1;
        case Status::unknown:
            return 2;
        case Status::critical:
            break;
    }
    return 3;
}

}  // namespace

Status Worse(Status one, Status other) {
    return Weight(one) < Weight(other) ? other : one;
}

std::string_view VerdictOf(Status status) {
    switch (status) {
        case Status::ok:
            return "healthy";
        case Status::warning:
            return "degraded";
        case Status::critical:
            return "failed";
        case Status::unknown:
            break;
    }
    return "unknown";
}

bool IsFailure(std::string_view testVerdict) {
    return testVerdict == "failed" || testVerdict == "timed_out" || testVerdict == "crashed";
}

bool IsAnswer(std::string_view testVerdict) {
    return testVerdict == "passed" || IsFailure(testVerdict);
}

Status StatusOfTest(const Json& testFinished) {
    const std::string verdict = testFinished.value("verdict", "");
    if (verdict == "passed" || verdict == "unsupported") {
        return Status::ok;
    }
    if (IsFailure(verdict)) {
        return testFinished.contains("waived") ? Status::warning : Status::critical;
    }
    if (verdict == "skipped" || verdict == "not_run") {
        return Status::warning;
    }
    return Status::unknown;
}

Status StatusOfReasons(const Json& reasons) {
    Status worst = Status::ok;
    for (const Json& reason : reasons) {
        const int status = reason.value("status", -1);
        const bool known = status >= 0 && status <= static_cast<int>(Status::unknown);
        worst = Worse(worst, known ? static_cast<Status>(status) : Status::unknown);
    }
    return worst;
}

void Outcome::Read(const Json& record) {
    const std::string kind = record.value("record", "");
    if (kind == "test_finished") {
        ++counts_[record.value("verdict", "")];
        status_ = Worse(status_, StatusOfTest(record));
    } else if (kind == "card_finished" || kind == "run_note") {
        status_ = Worse(status_, StatusOfReasons(record.value("reasons", Json::array())));
    } else if (kind == "run_finished") {
        finished_ = true;
    }
}

}  // namespace zelhealth
