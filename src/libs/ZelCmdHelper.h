// Runs a program that lies on a card, and brings its standard output back to the host. A card is a
// host of its own, reached with the secure-shell client under its device name ("zel0", "zel1", ...)
// by a login that asks nothing.
//
// Nothing is quoted: paths and arguments are words for two shells, the host's and the card's. What
// the program writes to standard error is not captured. Each thread uses an object of its own; a
// call returns when the program has ended.
#pragma once

#include <string>

class ZelCmdHelper {
public:
    static constexpr char k_ZelCmdPath[] = "/usr/bin/ssh";
    static constexpr char k_ZelRUXToolPath[] =
        "/opt/ostrel/zel/rux/tools/zelnativeloadex/release/zelnativeloadex";

    // Throws CommonException when there is no secure-shell client. The launcher is not looked for.
    ZelCmdHelper();

    // The host's command line that runs the program, with `envVars` (assignments, or empty) in front
    // of it. A program named without "/" lies in the card's root folder. Empties `output`.
    std::string GenerateCommand(std::string deviceExecPath, std::string& output,
                                const std::string& args, const short& deviceNumber,
                                const std::string& envVars);

    // Runs the program. Throws CommonException when it, or the way to it, ends with a non-zero
    // status: the text is what the program printed, and `output` is empty.
    void Execute(std::string deviceExecPath, std::string& output, const std::string& args,
                 const short& deviceNumber, const std::string& envVars);

    // The route through the offload launcher, which nothing takes: prints the command line, runs it.
    // A program named without "/" lies in the host's current folder. Throws CommonException when the
    // launcher ends with a non-zero status.
    void ExecutewithRUXTool(std::string deviceExecPath, std::string& output,
                            const std::string& args, const short& deviceNumber);
};
