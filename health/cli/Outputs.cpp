#include "cli/Outputs.h"

#include "history/HistoryFile.h"
#include "host/OwnFiles.h"
#include "report/Reports.h"

namespace zelhealth {

std::string OutputClash(const std::vector<std::string>& outputs,
                        const std::vector<std::string>& inputs) {
    const Folders folders = Folders::FromEnvironment();
    for (const std::string& clash :
         {Clash(outputs, inputs), HistoryFile(folders.state / kHistoryFile).Clash(outputs),
          OwnFileClash(folders, outputs)}) {
        if (!clash.empty()) {
            return clash;
        }
    }
    return "";
}

}  // namespace zelhealth
