// What a stand-in's run means, told without the companion.
#pragma once

#include <string>

#include "Script.h"
#include "catalogue/Catalogue.h"
#include "run/ToolOutput.h"

namespace bad {

// A script, and the test that its run was asked for.
struct Recording {
    Script script;
    const zelhealth::TestRow* row = nullptr;
    bool passes = false;  // the tool's own statements and its status say so

    zelhealth::AskedTest Asked() const;
};

// Those of the end-to-end cases, each with the first test that it asks for: where there are more, the
// output is not that of one test, and passes for none.
std::vector<Recording> ReadRecordings(const std::filesystem::path& cases);

// Whether the test may be called passed after all that was said and done: what was printed says what the
// tool says of a test that passes, in the tool's order, whatever free text there is, and the status is
// that of a run without a failure.
bool MayPass(const Recording& recording, const Act& act);

}  // namespace bad
