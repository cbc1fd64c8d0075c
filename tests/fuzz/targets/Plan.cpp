// A plan, as a file of an operator's.
//
// It is refused with its name and place in front of one line, or it has tests, each of which is the tool's, and none
// of which disturbs memory that the plan has not asked for.
#include <string>

#include "plan/Plan.h"
#include "support/Expect.h"
#include "support/Input.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using fuzz::Expect;
    try {
        const zelhealth::Plan plan = zelhealth::ReadPlan("my.toml", fuzz::Text(data, size));
        Expect(!plan.tests.empty(), "a plan without tests");
        for (const zelhealth::PlannedTest& test : plan.tests) {
            Expect(test.row != nullptr, "a test that is none");
            Expect(test.repeat >= 1, "a test that is not done");
            Expect(plan.memory || test.row->mode != zelhealth::NeededMode::ready,
                   "memory that was not asked for");
            Expect(!test.deadline || test.deadline->count() > 0, "a deadline that is over");
        }
    } catch (const zelhealth::PlanError& error) {
        const std::string text = error.what();
        Expect(text.starts_with("my.toml"), "an error without its place: " + text);
    }
    return 0;
}
