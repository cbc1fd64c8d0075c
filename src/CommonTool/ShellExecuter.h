// Runs one command line of the host's shell and keeps what it printed and how it ended. Also knows
// the folder of the running executable, beside which the program's companions lie.
//
// An object is used by one thread. Every failure to run is a CommonException; a command that ends
// with a non-zero status is not a failure here.
#pragma once

#include <cstdio>
#include <string>

#include "ZelTypes.h"

class ShellExecuter {
public:
    explicit ShellExecuter(const std::string& command);
    virtual ~ShellExecuter();
    ShellExecuter(const ShellExecuter&) = delete;
    ShellExecuter& operator=(const ShellExecuter&) = delete;

    // Runs the command to its end. Called again, it runs again and its output is added.
    void Execute();

    // The standard output so far, without blanks, tabs and line ends at its end.
    std::string GetOutput();

    // The wait status of the command, not decoded: the exit code stands in bits 8 to 15. 0 before a
    // command has ended.
    int GetReturnCode() const { return _returnCode; }

    // Reads where the executable lies, once, before any other thread starts.
    static void SetAppDirAccessPath();

    // The executable's folder with a "/" at its end; empty before SetAppDirAccessPath.
    static std::string GetAppDirAccessPath() { return s_AppAccessPath; }

protected:
    void _Open();
    void _Read();
    void _Close();

private:
    void _CleanOutput();

    I32 _returnCode = 0;
    std::string _output;
    FILE* _fdCommand = nullptr;
    std::string _command;

    static std::string s_AppAccessPath;
};
