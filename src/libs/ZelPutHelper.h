// Copies files that ship beside the tool to a folder on a card, with the secure-copy client and by a
// login that asks nothing. Each thread uses an object of its own; a call returns when the copy has
// ended. A copy that breaks off is not cleaned up.
#pragma once

#include <string>
#include <vector>

class ZelPutHelper {
public:
    static constexpr char k_ZelPutPath[] = "/usr/bin/scp";

    // Throws CommonException when there is no secure-copy client.
    ZelPutHelper();

    // Copies the file `filePath`, relative to the tool's own folder, to `devicePath`, a folder on the
    // card with its "/" at the end. `output` becomes what the copy printed, errors among it.
    // Throws CommonException when there is no such file, which leaves `output` alone, or when the
    // copy ends with a non-zero status.
    void Upload(const std::string& filePath, std::string& output, const short& deviceNumber,
                const std::string& devicePath);

    // Copies several files in the order of the list and adds to `output` what the copies printed. The
    // first failure throws; the files copied before it stay on the card.
    void Upload(const std::vector<std::string>& filePaths, std::string& output,
                const short& deviceNumber, const std::string& devicePath);

    // Declared only: a card is reached by its host name, so nothing asks for its address.
    std::string GetDeviceIp();
};
