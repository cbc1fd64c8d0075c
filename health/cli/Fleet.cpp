// zelhealth fleet: a run on each node of a cluster, or streams of such runs, as one report.
#include "cli/Fleet.h"

#include <unistd.h>

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <system_error>

#include "cli/Host.h"
#include "cli/Outputs.h"
#include "cli/ReportOptions.h"
#include "fleet/FleetData.h"
#include "fleet/FleetText.h"
#include "fleet/NodeList.h"
#include "fleet/Slurm.h"
#include "fleet/Step.h"
#include "host/Print.h"
#include "host/UtcTime.h"
#include "plan/Plan.h"
#include "readers/Colours.h"
#include "readers/DrawnLines.h"
#include "record/StreamReader.h"
#include "report/Reports.h"

namespace zelhealth {

namespace {

namespace fs = std::filesystem;

struct FleetOptions {
    NodeChoice choice;
    std::vector<std::string> from;
    std::string plan;
    std::string folder;
    StepOptions step;
    bool shared = false;
    bool quiet = false;
    ReportFiles files;
    std::vector<std::string> runOptions;
};

// Whatever is wrong with the question itself: nothing has been started.
class Refusal : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

std::string Variable(const char* name) {
    const char* const value = std::getenv(name);
    return value == nullptr ? "" : value;
}

// The streams in a folder, or a stream.
void AddStreams(const std::string& name, std::vector<std::string>& streams) {
    std::error_code error;
    if (name == "-" || !fs::is_directory(name, error)) {
        streams.push_back(name);
        return;
    }
    std::vector<std::string> found;
    for (fs::directory_iterator entry(name, error), end; !error && entry != end;
         entry.increment(error)) {
        if (entry->path().extension() == ".jsonl") {
            found.push_back(entry->path());
        }
    }
    if (error) {
        throw Refusal(name + " cannot be read: " + error.message());
    }
    if (found.empty()) {
        throw Refusal(name + " holds no stream (*.jsonl)");
    }
    std::sort(found.begin(), found.end());
    streams.insert(streams.end(), found.begin(), found.end());
}

// A new folder, or an empty one, as an absolute path.
std::string MakeFolder(const std::string& wished) {
    std::string name = wished;
    if (name.empty()) {
        name = "zelhealth-fleet-" + UtcText(std::chrono::system_clock::now());
        std::erase_if(name, [](char c) { return c == ':' || c == '.'; });
    }
    std::error_code error;
    const fs::path folder = fs::absolute(name, error);
    if (!error) {
        fs::create_directories(folder, error);
    }
    if (error) {
        throw Refusal(name + " cannot be made: " + error.message());
    }
    // srun makes something else of these in the names of its files.
    if (folder.string().find_first_of("%\\") != std::string::npos) {
        throw Refusal(folder.string() + " has a % or a \\ in it; give another --folder");
    }
    if (!fs::is_empty(folder, error) || error) {
        throw Refusal(folder.string() + " is not empty; give another --folder");
    }
    return folder;
}

// The cards of jobs are not to be changed below them. Of a plan that only the nodes know, or that they choose, nobody
// knows here what it does.
bool ChangesCards(const std::string& plan) {
    try {
        return plan.empty() || LoadPlan(plan).Disturbs();
    } catch (const PlanError&) {
        return true;
    }
}

// srun runs its step there.
bool IsInAllocation() {
    return !Variable("SLURM_JOB_ID").empty() || !Variable("SLURM_JOBID").empty();
}

bool NamesPartition(const std::vector<std::string>& srunOptions) {
    return std::any_of(srunOptions.begin(), srunOptions.end(), [](const std::string& option) {
        return option.starts_with("--partition") || option.starts_with("-p");
    });
}

class Fleet {
public:
    explicit Fleet(FleetOptions& options)
        : options_(options), reports_(options.files, Complain, [this] {
              return FleetData(Report(), reports_.Sum());
          }) {
        auto fleet = std::make_unique<FleetSummary>();
        fleet_ = fleet.get();
        reports_.Add(std::move(fleet));
    }

    int Do() {
        const bool live = options_.from.empty();
        if (live) {
            Ask();
        } else {
            Expect();
        }
        for (const std::string& stream : streams_) {
            Read(stream);
        }
        if (Interrupted().Stronger()->Requested() || (!live && Interrupted().Requested())) {
            Complain("interrupted; nothing is written");
            return kUnknown;
        }
        const bool written = reports_.Close();
        std::FILE* const out = Out();
        Print(out,
              FleetText(Report(), reports_.Sum(),
                        isatty(fileno(out)) != 0 ? SizeOf(out).columns : 80, WantsColours(out)));
        if (live) {
            Print(out, "\nThe streams stand in " + options_.step.folder + ".\n");
        }
        const auto status = Worse(static_cast<ExitStatus>(Report().status), status_);
        return written ? status : Worse(status, kUnknown);
    }

private:
    // Where a report goes to standard output, nothing else may.
    std::FILE* Out() const {
        const std::vector<std::string> names = options_.files.Names();
        return std::find(names.begin(), names.end(), "-") == names.end() ? stdout : stderr;
    }

    // Starts a step, and lets it come to its end.
    void Ask() {
        if (options_.choice.nodes.empty() && options_.choice.partition.empty()) {
            options_.choice.nodes = Variable("SLURM_JOB_NODELIST");
        }
        if (options_.choice.nodes.empty() && options_.choice.partition.empty()) {
            throw Refusal("which nodes? give --nodes or --partition, or streams with --from");
        }
        asked_ = NodesOf(options_.choice, Interrupted());
        StepOptions& step = options_.step;
        step.folder = MakeFolder(options_.folder);
        step.name = fmt::format("zelhealth-{}", fs::path(step.folder).filename().string());
        std::replace(step.name.begin(), step.name.end(), ' ', '_');
        step.name += fmt::format("-{}", getpid());
        step.program = step.program.empty() ? ProgramFolder() + "/zelhealth" : step.program;
        if (!options_.plan.empty()) {
            step.words = {"--plan", options_.plan};
        }
        step.words.insert(step.words.end(), options_.runOptions.begin(), options_.runOptions.end());
        const bool isSlurmsChoice = IsInAllocation() || NamesPartition(step.srunOptions);
        const bool isAlone = !options_.shared && ChangesCards(options_.plan);
        if (!IsInAllocation()) {
            step.sharing = isAlone ? "--exclusive" : "--oversubscribe";
        }
        if (step.sharing == "--exclusive") {
            TellOfJobs();
        }
        const std::string trouble =
            RunSteps(step, isSlurmsChoice ? InOneStep(asked_) : ByPartition(asked_), asked_, Out(),
                     options_.quiet, Interrupted());
        if (!trouble.empty()) {
            Complain(trouble);
            status_ = kUnknown;
        }
        std::error_code error;
        for (const Node& node : asked_) {
            const std::string stream = step.folder + "/" + node.name + ".jsonl";
            // A node that said nothing is told as one that did not answer.
            if (fs::file_size(stream, error) > 0 && !error) {
                streams_.push_back(stream);
            }
        }
    }

    // Before somebody wonders why nothing begins.
    void TellOfJobs() const {
        std::vector<std::string> busy;
        for (const Node& node : asked_) {
            if (node.inStep && node.busy) {
                busy.push_back(node.name);
            }
        }
        if (!busy.empty()) {
            Complain(fmt::format(
                "jobs run on {}{}; the run waits for their end, unless --shared", busy.front(),
                busy.size() > 1 ? fmt::format(" and {} more", busy.size() - 1) : ""));
        }
    }

    void Expect() {
        for (const std::string& name : options_.from) {
            AddStreams(name, streams_);
        }
        if (const std::string clash = OutputClash(options_.files.Names(), streams_);
            !clash.empty()) {
            throw Refusal(clash);
        }
        if (!options_.choice.nodes.empty()) {
            for (const std::string& name : NamesOf(options_.choice.nodes)) {
                asked_.push_back({name, true, "", ""});
            }
        }
    }

    void Read(const std::string& stream) {
        StreamOptions options;
        options.stop = options_.from.empty() ? Interrupted().Stronger() : &Interrupted();
        StreamReader reader(
            stream, [this](const StreamProblem& problem) { Tell(problem); }, options);
        bool isEmpty = true;
        for (Json record; reader.Next(record);) {
            isEmpty = false;
            if (const std::string_view why = reports_.Read(record); !why.empty()) {
                reader.TellOfRecord(std::string(why));
            }
        }
        // A node that said nothing has its name from its file.
        const fs::path file(stream);
        if (isEmpty && !options_.from.empty() && file.extension() == ".jsonl") {
            NodeOf(file.stem()).trouble = "its stream holds no record";
        }
    }

    // The one of that name among those that are asked, or one more.
    Node& NodeOf(const std::string& name) {
        const auto known = std::find_if(asked_.begin(), asked_.end(),
                                        [&](const Node& node) { return node.name == name; });
        return known == asked_.end() ? asked_.emplace_back(Node{name, true, "", ""}) : *known;
    }

    void Tell(const StreamProblem& problem) {
        Complain(problem.Text());
        if (problem.lost) {
            status_ = kUnknown;
            reports_.AddProblem(problem.Text());
        }
    }

    // Made once, when all has been read.
    const FleetReport& Report() {
        if (!report_) {
            report_ = ReportOf(*fleet_, asked_, options_.from.empty() ? Reach::slurm : Reach::ssh);
        }
        return *report_;
    }

    FleetOptions& options_;
    FleetSummary* fleet_ = nullptr;  // one of the reports
    Reports reports_;
    std::optional<FleetReport> report_;
    std::vector<Node> asked_;
    std::vector<std::string> streams_;
    ExitStatus status_ = kGood;
};

int Answer(FleetOptions& options) {
    // Whoever reads what is written may go; a file that may not grow is told like a full disk.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    try {
        if (const std::string clash = OutputClash(options.files.Names()); !clash.empty()) {
            throw Refusal(clash);
        }
        return Fleet(options).Do();
    } catch (const SlurmError& error) {
        Complain(error.what());
    } catch (const NodeListError& error) {
        Complain(error.what());
    } catch (const Refusal& error) {
        Complain(error.what());
    }
    return kUnknown;
}

}  // namespace

void DeclareFleet(CLI::App& app, int& status) {
    CLI::App* const command =
        app.add_subcommand("fleet", "Run on each node of a cluster, and tell what it comes to");
    const auto options = std::make_shared<FleetOptions>();
    auto* const from =
        command
            ->add_option("--from", options->from,
                         "Streams that came another way, or folders of them; no node is asked")
            ->type_name("FILE");
    command->add_option("--nodes", options->choice.nodes, "These nodes, such as n[1-8]")
        ->type_name("LIST");
    for (CLI::Option* const ofStep :
         {command->add_option("--partition", options->choice.partition, "Nodes of this partition")
              ->type_name("NAME"),
          command
              ->add_option("--plan", options->plan,
                           "prolog, check, standard, thorough, or a file that the nodes share")
              ->type_name("PLAN"),
          command
              ->add_option("--time", options->step.timeLimit, "The step's limit, as srun takes it")
              ->type_name("TIME"),
          command
              ->add_option("--folder", options->folder,
                           "Where the streams go: a new folder that the nodes share")
              ->type_name("FOLDER"),
          command
              ->add_option("--wait", options->step.wait,
                           "So long for nodes to become free; without it, until they are")
              ->check(CLI::Range(1, 1000000))
              ->type_name("SECONDS"),
          command->add_flag("--shared", options->shared,
                            "Beside jobs, also with a plan that changes cards"),
          command->add_option("--program", options->step.program, "zelhealth, as the nodes find it")
              ->type_name("PATH"),
          command
              ->add_option("--srun", options->step.srunOptions,
                           "An option for srun; may be repeated")
              ->expected(1)
              ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
              ->type_name("OPTION"),
          command->add_flag("--quiet", options->quiet, "Print the closing report only"),
          command
              ->add_option("OPTION", options->runOptions,
                           "Behind --, options of zelhealth run on the nodes")
              ->type_name("")}) {
        ofStep->excludes(from);
    }
    AddReportFiles(*command, options->files);
    command->callback([options, &status] { status = Answer(*options); });
}

}  // namespace zelhealth
