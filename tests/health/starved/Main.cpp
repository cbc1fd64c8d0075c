// Runs zelhealth over and over, each time with one thing that it does not get: an allocation, a thread, a process, or
// a file's writing; and counts what came of it.
//
//     starved_health SHARE SHARES STRIDE     of every STRIDEth allocation and of all else the SHAREth of every SHARES
//
// Runs on a simulated host with healthy cards (zelsim run -- starved_health ...). The library that is loaded for it
// counts in a program that is started as ZelDiag, which zelhealth therefore is.
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <map>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <vector>

#include "../../sweep/Tool.h"

namespace {

namespace fs = std::filesystem;
using sweep::Kind;
using sweep::Outcome;

// A folder for what the runs write, and the programs by their other names.
class Place {
public:
    Place() : programs_(fs::read_symlink("/proc/self/exe").parent_path().parent_path() / "bin") {
        std::string folder = fs::temp_directory_path() / "starved.XXXXXX";
        if (mkdtemp(folder.data()) == nullptr)
            throw std::runtime_error("no folder");
        folder_ = folder;
        fs::create_symlink(programs_ / "zelhealth", folder_ / "ZelDiag");
        fs::create_symlink(programs_ / "ZelDiag", folder_ / "tool");
        std::ofstream(folder_ / "plan.toml")
            << "memory = true\ntests = [\"core.gec\"]\n[[test]]\n"
               "test = \"mem.wr\"\noptions = [\"-memSize=0x1000\"]\n";
        for (const char* const name : {"RUN", "STATE", "CONFIGURATION"})
            setenv((std::string("ZELHEALTH_") + name + "_FOLDER").c_str(), (folder_ / name).c_str(),
                   1);
    }
    ~Place() {
        std::error_code ignored;
        fs::remove_all(folder_, ignored);
    }
    Place(const Place&) = delete;
    Place& operator=(const Place&) = delete;

    std::vector<std::string> Words() const {
        return {folder_ / "ZelDiag", "run",      "--plan", folder_ / "plan.toml", "--tool",
                folder_ / "tool",    "--output", Stream()};
    }
    std::string Stream() const { return folder_ / "stream"; }
    std::string Preload() const { return programs_.parent_path() / "tests" / "health_inject.so"; }

    // Each run finds what the first one found.
    void Clear() const {
        for (const char* const name : {"RUN", "STATE", "stream"})
            fs::remove_all(folder_ / name);
    }

private:
    fs::path programs_;
    fs::path folder_;
};

// What is wrong with a stream; a run that was told to have passed has passed all its tests.
std::string WrongIn(const std::string& stream, int status) {
    std::ifstream file(stream);
    std::size_t passed = 0;
    int told = -1;
    for (std::string line; std::getline(file, line);) {
        // A run that ends in the middle of a line has told nothing with it.
        if (file.eof())
            break;
        const nlohmann::json record = nlohmann::json::parse(line, nullptr, false);
        if (!record.is_object())
            return "a line of the stream is no record: " + line;
        const std::string verdict = record.value("verdict", "");
        if (record["record"] == "test_finished" && (verdict == "failed" || verdict == "crashed"))
            return "a test is " + verdict;
        passed += record["record"] == "test_finished" && verdict == "passed" ? 1 : 0;
        if (record["record"] == "run_finished")
            told = record["status"];
    }
    if (status == 0 && (told != 0 || passed != 2))
        return "ended with 0 without a stream that says so";
    return told > status ? "the stream tells of something worse than the status" : "";
}

bool Tells(const std::string& stream, const std::string& reason) {
    std::ifstream file(stream);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    return text.find('"' + reason + '"') != std::string::npos;
}

std::string Wrong(const Outcome& clean, const Outcome& outcome, const std::string& stream) {
    if (outcome.hung)
        return "hangs";
    if (outcome.signal != 0)
        return "is ended by signal " + std::to_string(outcome.signal);
    // A card that it cannot take back, or ask whether it has come back, it has to tell of; the next run sees to it.
    const bool told = Tells(stream, "not_restored");
    if (outcome.status != (told ? 2 : 3) && outcome.status != 0)
        return "ended with " + std::to_string(outcome.status);
    if (outcome.status == 3 && outcome.err.empty() && outcome.out.empty())
        return "ended with 3 and says nothing";
    if (outcome.processes != clean.processes)
        return "has left processes";
    if (outcome.modes != clean.modes && !told)
        return "has left a card in another mode, and does not say so";
    return WrongIn(stream, outcome.status);
}

struct Tally {
    std::size_t cases = 0;
    std::size_t missed = 0;
    std::map<int, std::size_t> statuses;
};

void Judge(const Outcome& clean, const Outcome& outcome, const Place& place,
           const std::string& name, Tally& tally) {
    ++tally.cases;
    ++tally.statuses[outcome.status];
    const std::string wrong = Wrong(clean, outcome, place.Stream());
    if (wrong.empty())
        return;
    ++tally.missed;
    std::cout << "wrong: " << name << " (" << outcome.what << "): " << wrong << "\n";
}

int Run(const std::vector<std::string>& words) {
    const Place place;
    sweep::Tool tool(place.Words(), place.Preload());
    const Outcome clean = tool.Run(Kind::Allocation, 0, ZEL_USAGE_MODE_NORMAL);
    Tally tally;
    if (clean.status != 0 || !Wrong(clean, clean, place.Stream()).empty())
        throw std::runtime_error("nothing fails, and yet: " + std::to_string(clean.status) + " " +
                                 std::to_string(clean.signal) + " " +
                                 Wrong(clean, clean, place.Stream()) + " " + clean.out + clean.err);
    const std::size_t share = std::stoul(words.at(0));
    const std::size_t shares = std::stoul(words.at(1));
    const std::size_t stride = std::stoul(words.at(2));
    for (const Kind kind : {Kind::Thread, Kind::Command, Kind::Call, Kind::Allocation}) {
        const std::size_t step = kind == Kind::Allocation ? stride : 1;
        for (std::size_t at = 1 + share * step; at <= clean.CountOf(kind); at += shares * step) {
            place.Clear();
            Judge(clean, tool.Run(kind, at, ZEL_USAGE_MODE_NORMAL), place,
                  std::string(NameOf(kind)) + " " + std::to_string(at), tally);
        }
    }
    std::cout << "starved: " << tally.cases << " cases of " << clean.CountOf(Kind::Allocation)
              << " allocations, " << clean.CountOf(Kind::Thread) << " threads, "
              << clean.CountOf(Kind::Command) << " processes and " << clean.CountOf(Kind::Call)
              << " writes, missed " << tally.missed << ";";
    for (const auto& [status, times] : tally.statuses)
        std::cout << " ended with " << status << ": " << times;
    std::cout << "\n";
    return tally.cases > 0 && tally.missed == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return Run({argv + 1, argv + argc});
    } catch (const std::exception& error) {
        std::cout << "wrong: " << error.what() << "\n";
        return EXIT_FAILURE;
    }
}
