// Runs a program that lies on a card, and brings its standard output back to the host.
#include "libs/ZelCmdHelper.h"

#include <iostream>
#include <utility>

#include "CommonException.h"
#include "CommonTool/ShellExecuter.h"
#include "CommonTool/Utils.h"

namespace {

// A bare file name gets a folder; a path stays as it is.
void PutInFolder(std::string& path, const char* folder) {
    if (path.find('/') == std::string::npos)
        path.insert(0, folder);
}

}  // namespace

ZelCmdHelper::ZelCmdHelper() {
    if (!Utils::FileExists(k_ZelCmdPath))
        throw CommonException("Could not find ZelCmd path");
}

std::string ZelCmdHelper::GenerateCommand(std::string deviceExecPath, std::string& output,
                                          const std::string& args, const short& deviceNumber,
                                          const std::string& envVars) {
    output.clear();
    PutInFolder(deviceExecPath, "/");
    std::string command = std::string(k_ZelCmdPath) + " zel" + std::to_string(deviceNumber) + "  ";
    if (!envVars.empty())
        command += envVars + " ";
    return command + deviceExecPath + " " + args;
}

void ZelCmdHelper::Execute(std::string deviceExecPath, std::string& output, const std::string& args,
                           const short& deviceNumber, const std::string& envVars) {
    ShellExecuter shell(
        GenerateCommand(std::move(deviceExecPath), output, args, deviceNumber, envVars));
    shell.Execute();
    if (shell.GetReturnCode() != 0)
        throw CommonException(shell.GetOutput());
    output = shell.GetOutput();
}

void ZelCmdHelper::ExecutewithRUXTool(std::string deviceExecPath, std::string& output,
                                      const std::string& args, const short& deviceNumber) {
    PutInFolder(deviceExecPath, "./");
    const std::string command = std::string(k_ZelRUXToolPath) + " " + deviceExecPath + " -a \"" +
                                args + "\" -d " + std::to_string(deviceNumber);
    std::cout << command << std::endl;
    ShellExecuter shell(command);
    shell.Execute();
    if (shell.GetReturnCode() != 0)
        throw CommonException("Remote binary return code is not 0");
    output = shell.GetOutput();
}
