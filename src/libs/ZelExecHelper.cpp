// Copies a program that ships beside the tool to a card and runs it there, in one call.
#include "libs/ZelExecHelper.h"

#include <utility>

#include "libs/ZelCmdHelper.h"
#include "libs/ZelPutHelper.h"

ZelExecHelper::ZelExecHelper() : ZelExecHelperTool(CMDEXECTOOL) {}

void ZelExecHelper::Execute(std::string deviceExecPath, std::string& output,
                            const std::string& args, const short& deviceNumber) {
    if (ZelExecHelperTool == RUXEXECTOOL)
        return;
    ZelPutHelper put;
    ZelCmdHelper cmd;
    std::string text;
    put.Upload(deviceExecPath, text, deviceNumber, "/");
    output = text;
    cmd.Execute(std::move(deviceExecPath), text, args, deviceNumber, "");
    output += text;
}
