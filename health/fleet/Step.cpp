#include "fleet/Step.h"

#include <fmt/format.h>

#include <algorithm>
#include <atomic>
#include <fstream>
#include <memory>
#include <optional>
#include <thread>
#include <unordered_map>
#include <unordered_set>

#include "fleet/FleetView.h"
#include "fleet/Follower.h"
#include "host/Print.h"
#include "host/Printable.h"
#include "readers/Colours.h"
#include "readers/DrawnLines.h"
#include "record/Record.h"
#include "report/SummaryText.h"

namespace zelhealth {

namespace {

using Clock = NodeProgress::Clock;

constexpr int kLookMilliseconds = 500;
constexpr std::chrono::hours kLongest{24 * 365};

// Runs that are ended take their cards back to the mode in which they were.
constexpr std::chrono::seconds kGrace{200};

constexpr std::size_t kLongestLine = 200;

// So long nobody is told that the step waits for its nodes.
constexpr std::chrono::seconds kWaiting{15};

// srun, beside what follows its files.
class Srun {
public:
    explicit Srun(std::vector<std::string> command) {
        spec_.command = std::move(command);
        spec_.deadline = kLongest;
        spec_.grace = kGrace;
        thread_ = std::thread([this] {
            result_ = RunChild(spec_, ending_);
            done_ = true;
            wake_.Request();
        });
    }

    ~Srun() {
        ending_.Request();
        thread_.join();
    }

    Srun(const Srun&) = delete;
    Srun& operator=(const Srun&) = delete;

    void End() { ending_.Request(); }
    void Kill() { killing_.Request(); }
    bool IsDone() const { return done_; }

    // True when it is done within that time.
    bool WaitFor(int milliseconds) const { return wake_.WaitFor(milliseconds); }

    // Once it is done.
    const ChildResult& Result() const { return result_; }

private:
    ChildSpec spec_;
    Stop killing_;
    Stop ending_{&killing_};
    Stop wake_;
    std::atomic<bool> done_ = false;
    ChildResult result_;
    std::thread thread_;
};

// Those of all steps.
class Sruns {
public:
    void Start(std::vector<std::string> command) {
        sruns_.push_back(std::make_unique<Srun>(std::move(command)));
    }

    void End() {
        for (const auto& srun : sruns_) {
            srun->End();
        }
    }

    void Kill() {
        for (const auto& srun : sruns_) {
            srun->Kill();
        }
    }

    // True when all are done within that time.
    bool WaitFor(int milliseconds) const {
        return std::all_of(sruns_.begin(), sruns_.end(), [milliseconds](const auto& srun) {
            return srun->WaitFor(milliseconds);
        });
    }

    const Srun& operator[](std::size_t step) const { return *sruns_[step]; }

private:
    std::vector<std::unique_ptr<Srun>> sruns_;
};

// Shows a step on a terminal, or tells line by line.
class Display {
public:
    Display(std::FILE* out, bool quiet, std::size_t nodes)
        : out_(out), quiet_(quiet), colours_(WantsColours(out)), lines_(out), nodes_(nodes) {}

    void Ended(const std::vector<const NodeProgress*>& ended) {
        done_ += ended.size();
        if (quiet_ || isTerminal_) {
            return;
        }
        for (const NodeProgress* const node : ended) {
            Print(out_, fmt::format("[{}/{}] {}\n", ++told_, nodes_, EndedLine(*node, colours_)));
        }
        std::fflush(out_);
    }

    void Show(const std::vector<NodeProgress>& nodes) {
        if (quiet_ || !isTerminal_) {
            return;
        }
        const TerminalSize size = SizeOf(out_);
        lines_.Draw(
            FleetLines(nodes, size.rows - 1, size.columns - 1, colours_, began_, Clock::now()));
    }

    // What is to be read in any case.
    void Say(const std::string& text) {
        lines_.Erase();
        Print(stderr, "zelhealth: " + text + "\n");
    }

    void Close() { lines_.Erase(); }

private:
    std::FILE* out_;
    bool quiet_;
    bool colours_;
    bool isTerminal_ = isatty(fileno(out_)) != 0;
    DrawnLines lines_;
    std::size_t nodes_;
    std::size_t done_ = 0;
    std::size_t told_ = 0;
    Clock::time_point began_ = Clock::now();
};

std::string LastLineOf(const std::string& file) {
    std::ifstream in(file);
    constexpr std::streamoff kTail = 4096;
    in.seekg(0, std::ios::end);
    in.seekg(-std::min<std::streamoff>(kTail, in.tellg()), std::ios::end);
    std::string last;
    for (std::string line; std::getline(in, line);) {
        last = line.empty() ? last : line;
    }
    return Printable(Bounded(last, kLongestLine));
}

// What the nodes themselves said where no stream tells it.
void AddLogs(const std::string& folder, const Follower& follower, std::vector<Node>& nodes) {
    std::unordered_map<std::string_view, Node*> named;
    for (Node& node : nodes) {
        named.emplace(node.name, &node);
    }
    for (const NodeProgress& progress : follower.Nodes()) {
        if (!progress.ended) {
            const std::string said = LastLineOf(fmt::format("{}/{}.log", folder, progress.name));
            Node& node = *named.at(progress.name);
            node.trouble = said.empty() ? node.trouble : said;
        }
    }
}

// A step that waits for its nodes is not silent, and one that is over is nobody's concern.
bool AllSilent(const Follower& follower, const Sruns& sruns) {
    const Clock::time_point now = Clock::now();
    return follower.Began() && std::all_of(follower.Nodes().begin(), follower.Nodes().end(),
                                           [&sruns, now](const NodeProgress& node) {
                                               return node.ended || node.IsSilent(now) ||
                                                      sruns[node.step].IsDone();
                                           });
}

void Follow(Sruns& sruns, const std::string& name, Follower& follower, Display& display,
            const Stop& stop) {
    const Clock::time_point begin = Clock::now();
    std::optional<Clock::time_point> ended;
    bool killed = false;
    bool told = false;
    const Stop never;
    const Stop& hurry = stop.Stronger() == nullptr ? never : *stop.Stronger();
    while (!sruns.WaitFor(kLookMilliseconds)) {
        display.Ended(follower.Look(Clock::now()));
        display.Show(follower.Nodes());
        const bool wished = stop.Requested();
        if (!ended && (wished || AllSilent(follower, sruns))) {
            ended = Clock::now();
            display.Say(wished ? "ending the step; once more, and it is killed"
                               : "the nodes that are not done are silent; ending the step");
            // srun itself would kill the tasks, and leave cards in other modes than they were found.
            if (!TerminateStep(name, hurry) && !hurry.Requested()) {
                sruns.End();
            }
        }
        if (ended && Clock::now() - *ended > kGrace) {
            sruns.End();
        }
        if (!killed && hurry.Requested()) {
            killed = true;
            // srun alone would leave its tasks on the nodes.
            if (!KillStep(name, never)) {
                display.Say("the runs on the nodes may go on; scancel --name=" + name +
                            " ends them");
            }
            sruns.Kill();
        }
        if (!told && !follower.Began() && Clock::now() - begin > kWaiting) {
            told = true;
            display.Say("no node has begun; squeue --name=" + name + " says why");
        }
    }
    // Some thousands a look.
    for (std::size_t seen = 0; seen < follower.Nodes().size(); seen += Follower::kMostFiles) {
        display.Ended(follower.Look(Clock::now()));
    }
    display.Close();
}

// The file names them, and is named by the partition where there are several.
std::string WriteNodes(const std::string& file, const std::vector<std::string>& names) {
    std::ofstream out(file);
    for (const std::string& name : names) {
        out << name << '\n';
    }
    if (!out.flush()) {
        throw SlurmError(file + " cannot be written");
    }
    return file;
}

// Of a step of which no node began.
std::string WhyNotBegun(const ChildResult& srun, const std::string& folder) {
    if (srun.end == ChildEnd::notStarted) {
        return "srun cannot be started: " + srun.error;
    }
    if (std::string why = WhyNoNodes(srun.err); !why.empty()) {
        return why;
    }
    const std::string said = Printable(Bounded(srun.err.substr(0, srun.err.find('\n'))));
    return fmt::format(
        "no node's stream came into {}, which has to be a folder that the nodes share{}{}", folder,
        said.empty() ? "" : "; srun says: ", said);
}

void AddTrouble(const std::string& trouble, const std::vector<std::string>& names,
                std::vector<Node>& nodes) {
    const std::unordered_set<std::string_view> meant(names.begin(), names.end());
    for (Node& node : nodes) {
        node.trouble = meant.contains(node.name) ? trouble : node.trouble;
    }
}

}  // namespace

std::string RunSteps(const StepOptions& options, const std::vector<StepNodes>& steps,
                     std::vector<Node>& nodes, std::FILE* out, bool quiet, const Stop& stop) {
    if (steps.empty()) {
        return "no node takes a step";
    }
    std::vector<std::vector<std::string>> names;
    std::size_t count = 0;
    for (const StepNodes& step : steps) {
        names.push_back(step.names);
        count += step.names.size();
    }
    Follower follower(options.folder, names, Clock::now());
    Display display(out, quiet, count);
    Sruns sruns;
    for (const StepNodes& step : steps) {
        const std::string file =
            options.folder + "/nodes" + (steps.size() > 1 ? "-" + step.partition : "");
        StepOptions own = options;
        own.partition = step.partition;
        sruns.Start(StepCommand(own, step.names.size(), WriteNodes(file, step.names)));
    }
    Follow(sruns, options.name, follower, display, stop);
    std::string troubles;
    for (std::size_t i = 0; i < steps.size(); ++i) {
        AddTroubles(sruns[i].Result().err, nodes);
        if (!follower.Began(i) && !stop.Requested()) {
            const std::string why = WhyNotBegun(sruns[i].Result(), options.folder);
            AddTrouble(why, steps[i].names, nodes);
            troubles += (troubles.empty() ? "" : "; ") +
                        (steps.size() > 1 ? "partition " + steps[i].partition + ": " : "") + why;
        }
    }
    AddLogs(options.folder, follower, nodes);
    return troubles;
}

}  // namespace zelhealth
