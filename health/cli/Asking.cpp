#include "cli/Asking.h"

#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <utility>

#include "cli/Host.h"
#include "cli/Outputs.h"
#include "cli/RunReaders.h"
#include "readers/HeldEnd.h"
#include "readers/Outcome.h"

namespace zelhealth {

std::FILE* OutputBeside(const RunOptions& options) {
    std::vector<std::string> names = options.told.reports.Names();
    names.push_back(options.told.output.value_or(""));
    return std::find(names.begin(), names.end(), "-") == names.end() ? stdout : stderr;
}

int Told(std::FILE* out, int status) {
    const bool written = out == stdout || std::ferror(out) == 0;
    return written ? status : Worse(static_cast<ExitStatus>(status), kUnknown);
}

void ExpectNoClash(const RunOptions& options) {
    std::vector<std::string> names = options.told.reports.Names();
    if (options.told.output) {
        names.push_back(*options.told.output);
    }
    if (const std::string clash = OutputClash(names); !clash.empty()) {
        throw Unanswerable(clash);
    }
}

std::unique_ptr<Stream> OpenStream(const RunOptions& options) {
    if (!options.told.output) {
        return nullptr;
    }
    try {
        return std::make_unique<Stream>(*options.told.output);
    } catch (const std::runtime_error& error) {
        throw Unanswerable(error.what());
    }
}

int Closed(Stream& stream, int status, const std::function<void(const std::string&)>& tell) {
    stream.Close();
    if (!stream.Error()) {
        return status;
    }
    tell(*stream.Error());
    return Worse(static_cast<ExitStatus>(status), kUnknown);
}

std::filesystem::path StoredCheck() {
    return Folders::FromEnvironment().state / "last-check.jsonl";
}

bool IsThatOfThisHost(const RunOptions& options) {
    return options.cards.empty() && options.tool.empty() && !options.expectedCards &&
           !options.ownPlan;
}

RunDefaults DefaultsFor(const RunOptions& options, RunDefaults defaults) {
    if (!IsThatOfThisHost(options)) {
        defaults.reports = {};
        defaults.output.reset();
    }
    return defaults;
}

int RunWith(const RunOptions& options, const Configuration& configuration,
            const std::vector<RecordReader*>& readers, const std::function<void()>& over,
            const std::function<void()>& finished,
            const std::function<void(const std::string&)>& tell) {
    const RunSettings settings = SettingsOf(options, configuration);
    ExpectNoClash(options);
    const std::unique_ptr<Stream> stream = OpenStream(options);
    OwnReports reports(options.told.reports, tell);
    Configuration kept = configuration;
    kept.storesHistory = kept.storesHistory && !options.noHistory;
    Keepers keepers(kept, tell, settings.patience, Interrupted());
    Outcome outcome;
    std::vector<RecordReader*> all = {&outcome};
    if (stream) {
        all.push_back(stream.get());
    }
    keepers.AddTo(all);
    all.push_back(&reports);
    HeldEnd told(readers);
    all.push_back(&told);
    const auto failed = [&] { return (stream && stream->Error()) || keepers.Failed(); };
    int status = static_cast<int>(RunPlan(settings, outcome, all, Interrupted(), failed));
    over();
    // An older answer that says otherwise is none any more.
    if (status == kCritical && options.tool.empty()) {
        unlink(StoredCheck().c_str());
    }
    status = reports.Close(keepers.Close(status));
    status = stream ? Closed(*stream, status, tell) : status;
    told.Close(status);
    finished();
    return status;
}

int Answer(const std::function<int()>& command) {
    if (!HasRootRights()) {
        return kUnknown;
    }
    // Whoever reads what is written may go.
    std::signal(SIGPIPE, SIG_IGN);
    // A file that may not grow is told like a full disk; the cards are to be restored all the same.
    std::signal(SIGXFSZ, SIG_IGN);
    try {
        return command();
    } catch (const Unanswerable& error) {
        Complain(error.what());
        return kUnknown;
    }
}

}  // namespace zelhealth
