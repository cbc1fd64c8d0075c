// Copies a program that ships beside the tool to a card and runs it there, in one call. Declared only:
// the tests upload and run by themselves.
#pragma once

#include <string>

// The ways to run a program on a card.
enum execTool {
    RUXEXECTOOL = 0,  // the offload launcher; reserved, it does nothing
    CMDEXECTOOL = 1   // copy, then run over the secure shell
};

class ZelExecHelper {
public:
    ZelExecHelper();

    // Copies the program to the card's root folder and runs it. `output` becomes what the copy
    // printed, then what the program printed; the first stands there also when the run fails. Throws
    // CommonException when a client is missing, the copy fails or the program fails.
    void Execute(std::string deviceExecPath, std::string& output, const std::string& args,
                 const short& deviceNumber);

protected:
    execTool ZelExecHelperTool;
};
