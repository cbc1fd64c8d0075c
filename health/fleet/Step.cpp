#include "fleet/Step.h"

#include <fmt/format.h>

#include <algorithm>
#include <atomic>
#include <fstream>
#include <optional>
#include <thread>

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
    std::size_t at = 0;
    for (Node& node : nodes) {
        if (!node.inStep) {
            continue;
        }
        const NodeProgress& progress = follower.Nodes()[at++];
        if (!progress.ended) {
            const std::string said = LastLineOf(fmt::format("{}/{}.log", folder, node.name));
            node.trouble = said.empty() ? node.trouble : said;
        }
    }
}

bool AllSilent(const Follower& follower) {
    const Clock::time_point now = Clock::now();
    return follower.Began() && std::all_of(follower.Nodes().begin(), follower.Nodes().end(),
                                           [now](const NodeProgress& node) {
                                               return node.ended || node.IsSilent(now);
                                           });
}

void Follow(Srun& srun, const std::string& name, Follower& follower, Display& display,
            const Stop& stop) {
    const Clock::time_point begin = Clock::now();
    std::optional<Clock::time_point> ended;
    bool killed = false;
    bool told = false;
    const Stop never;
    const Stop& hurry = stop.Stronger() == nullptr ? never : *stop.Stronger();
    while (!srun.WaitFor(kLookMilliseconds)) {
        display.Ended(follower.Look(Clock::now()));
        display.Show(follower.Nodes());
        const bool wished = stop.Requested();
        if (!ended && (wished || AllSilent(follower))) {
            ended = Clock::now();
            display.Say(wished ? "ending the step; once more, and it is killed"
                               : "the nodes that are not done are silent; ending the step");
            // srun itself would kill the tasks, and leave cards in other modes than they were found.
            if (!TerminateStep(name, hurry) && !hurry.Requested()) {
                srun.End();
            }
        }
        if (ended && Clock::now() - *ended > kGrace) {
            srun.End();
        }
        if (!killed && hurry.Requested()) {
            killed = true;
            // srun alone would leave its tasks on the nodes.
            if (!KillStep(name, never)) {
                display.Say("the runs on the nodes may go on; scancel --name=" + name +
                            " ends them");
            }
            srun.Kill();
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

std::string WriteNodes(const std::string& folder, const std::vector<std::string>& names) {
    const std::string file = folder + "/nodes";
    std::ofstream out(file);
    for (const std::string& name : names) {
        out << name << '\n';
    }
    if (!out.flush()) {
        throw SlurmError(file + " cannot be written");
    }
    return file;
}

}  // namespace

std::string RunStep(const StepOptions& options, std::vector<Node>& nodes, std::FILE* out,
                    bool quiet, const Stop& stop) {
    std::vector<std::string> names;
    for (const Node& node : nodes) {
        if (node.inStep) {
            names.push_back(node.name);
        }
    }
    if (names.empty()) {
        return "no node takes a step";
    }
    Follower follower(options.folder, names, Clock::now());
    Display display(out, quiet, names.size());
    const std::string file = WriteNodes(options.folder, names);
    Srun srun(StepCommand(options, names.size(), file));
    Follow(srun, options.name, follower, display, stop);
    const ChildResult& result = srun.Result();
    if (result.end == ChildEnd::notStarted) {
        return "srun cannot be started: " + result.error;
    }
    AddTroubles(result.err, nodes);
    AddLogs(options.folder, follower, nodes);
    if (!follower.Began() && !stop.Requested()) {
        const std::string said = Printable(Bounded(result.err.substr(0, result.err.find('\n'))));
        return fmt::format(
            "no node's stream came into {}, which has to be a folder that the nodes share{}{}",
            options.folder, said.empty() ? "" : "; srun says: ", said);
    }
    return "";
}

}  // namespace zelhealth
