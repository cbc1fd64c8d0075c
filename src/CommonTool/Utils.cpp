// Small queries of the host.
#include "CommonTool/Utils.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <exception>
#include <string_view>

#include "CommonException.h"
#include "CommonTool/ShellExecuter.h"
#include "SI/cm_stub1.h"

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

// The word of this number, from 0; empty where the text has fewer.
std::string_view Word(std::string_view text, int number) {
    constexpr std::string_view kBlanks = " \t\n\v\f\r";
    for (;; --number) {
        text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
        const std::string_view word = text.substr(0, text.find_first_of(kBlanks));
        if (number == 0 || text.empty())
            return word;
        text.remove_prefix(word.size());
    }
}

}  // namespace

// A stream of the C++ library would throw where there is no memory for its buffer.
bool Utils::FileExists(const std::string& path) {
    FILE* const file = cmOpenFile(path.c_str(), "r");
    if (file == nullptr)
        return false;
    cmCloseFile(file);
    return true;
}

std::string Utils::GetHOSKVersion() {
    std::string version;
    try {
        // "Version     : 3.1.2      Vendor: ..."
        version = Word(QueryPackageManager(), 2);
    } catch (const std::exception&) {
        // Absence is the answer, also where there is no memory for the query.
    }
    if (version.empty())
        version = "NotAvailable";
    return version;
}
