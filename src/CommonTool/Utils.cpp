// Small queries of the host.
#include "CommonTool/Utils.h"

#include <fcntl.h>
#include <unistd.h>

#include <fstream>
#include <sstream>

#include "CommonException.h"
#include "CommonTool/ShellExecuter.h"

namespace {

// Sends what is written to standard error to nowhere for as long as it lives: a host without the
// package manager is no news to an operator, but its shell would say so for every card. A DMA worker
// that was given up loses what it reports in that moment.
class SilentStandardError {
public:
    SilentStandardError() : saved_(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1)) {
        const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
        if (saved_ >= 0 && nowhere >= 0)
            dup2(nowhere, STDERR_FILENO);
        if (nowhere >= 0)
            close(nowhere);
    }
    ~SilentStandardError() {
        if (saved_ < 0)
            return;
        dup2(saved_, STDERR_FILENO);
        close(saved_);
    }
    SilentStandardError(const SilentStandardError&) = delete;
    SilentStandardError& operator=(const SilentStandardError&) = delete;

private:
    int saved_;
};

std::string QueryPackageManager() {
    const SilentStandardError silent;
    ShellExecuter query("rpm -qi hosk-daemon | grep Version");
    query.Execute();
    std::string output = query.GetOutput();
    if (output.empty())
        throw CommonException("Error querying RPM, or RPM not found\n");
    return output;
}

}  // namespace

bool Utils::FileExists(const std::string& path) {
    const std::ifstream file(path);
    return file.is_open();
}

std::string Utils::GetHOSKVersion() {
    std::string name;
    std::string colon;
    std::string version;
    try {
        // "Version     : 3.1.2      Vendor: ..."
        std::istringstream(QueryPackageManager()) >> name >> colon >> version;
    } catch (const CommonException&) {
        // Absence is the answer.
    }
    return version.empty() ? "NotAvailable" : version;
}
