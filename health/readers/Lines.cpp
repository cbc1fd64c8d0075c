#include "readers/Lines.h"

#include <fmt/format.h>

#include "host/Print.h"
#include "host/Printable.h"

namespace zelhealth {

void Lines::Read(const Json& record) {
    if (record.value("record", "") != "test_finished") {
        return;
    }
    const std::string test = record.value("group", "") + "." + record.value("test", "");
    std::string line = fmt::format("{:<6} {:<10} {:<11} {:>7.1f} s", record.value("card", ""), test,
                                   record.value("verdict", ""), record.value("seconds", 0.0));
    if (const std::string reason = record.value("reason", ""); !reason.empty()) {
        line += "  " + reason;
    }
    Print(out_, Printable(line) + "\n");
    std::fflush(out_);
}

}  // namespace zelhealth
