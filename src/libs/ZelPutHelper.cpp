// Copies files that ship beside the tool to a folder on a card.
#include "libs/ZelPutHelper.h"

#include "CommonException.h"
#include "CommonTool/ShellExecuter.h"
#include "CommonTool/Utils.h"

ZelPutHelper::ZelPutHelper() {
    if (!Utils::FileExists(k_ZelPutPath))
        throw CommonException(std::string("Upload tool not found in: ") + k_ZelPutPath);
}

void ZelPutHelper::Upload(const std::string& filePath, std::string& output,
                          const short& deviceNumber, const std::string& devicePath) {
    const std::string fullFilePath = ShellExecuter::GetAppDirAccessPath() + filePath;
    if (!Utils::FileExists(fullFilePath))
        throw CommonException("File to upload was not found");

    const std::string target = "zel" + std::to_string(deviceNumber) + ":" + devicePath;
    // The copy tells of its failure on standard error only; callers show it.
    ShellExecuter shell(std::string(k_ZelPutPath) + " " + fullFilePath + "  " + target + "  2>&1");
    shell.Execute();
    output = shell.GetOutput();
    if (shell.GetReturnCode() != 0)
        throw CommonException("upload command failed for the Card binary ::  " + filePath);
}

void ZelPutHelper::Upload(const std::vector<std::string>& filePaths, std::string& output,
                          const short& deviceNumber, const std::string& devicePath) {
    for (const std::string& filePath : filePaths) {
        std::string text;
        Upload(filePath, text, deviceNumber, devicePath);
        output += text;
    }
}
