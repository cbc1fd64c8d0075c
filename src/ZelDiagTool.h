// The tool object.
#pragma once

#include "CommonTool/ToolData.h"

// Base class: operations on a table of tasks. The run does not go through a table; they are declared
// for tools that have one.
class ZelTool {
public:
    int getArgs(int argc, char** argv, TaskInfo* info);
    void AddArgument(TaskInfo* info, const char* text);
    void FreeMemory(TaskInfo* info);
    int ExecuteTask(TaskInfo* info);
    bool Match(const char* mask, const char* name);
    void ExecuteHelp(TaskInfo* info);
    const char* GetFileName(const char* path);
    void CopyArgs(TaskInfo* to, const TaskInfo* from);

    const char* Usage = "";
};

class ZelDiagTool : public ZelTool {
public:
    // Runs the command line and returns the exit status.
    int ExecuteCmds(int argc, char** argv);
};
