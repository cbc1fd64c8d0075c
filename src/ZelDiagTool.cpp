// The tool object: the run summary takes its options off the front, the run driver does the rest.
#include "ZelDiagTool.h"

#include "TestEngine/te_main.h"
#include "TestEngine/te_summary.h"

int ZelDiagTool::ExecuteCmds(int argc, char** argv) {
    int skipped = 0;
    const int remaining = TE::SUMMARY_INSTANCE.ProcessGlobalOptions(argc, argv, &skipped);
    return InitUTask(remaining, argv + skipped, this);
}
