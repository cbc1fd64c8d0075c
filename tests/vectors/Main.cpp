// Breaks each vector instruction of the vector-unit workload in turn, in a copy of the built program, and
// expects the workload to notice: to it that is what a processor is like that executes it wrongly.
//
//   break_vectors PROGRAM
//
// An instruction is replaced by another operation of the same length, kept from the upper half of its
// lanes, and left out. Noticed is what the program itself tells, a mismatch and exit status 1; a crash is
// not. What this processor cannot run is named and left out, and so is what belongs to no tested result.
// Exit status 0 when everything was noticed.
#include <elf.h>
#include <fcntl.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>

#include "Breaks.h"

namespace {

namespace fs = std::filesystem;

// The functions whose instructions make results, by a part of their names.
struct Part {
    const char* function;
    const char* level;  // with which it runs
    bool ownResults;    // it is in that level's results alone that it shows
    int bits;           // at which each of the kinds must be there
    std::vector<std::string> kinds;
};

const std::vector<std::string> kBaselineKinds = {"add",     "subtract", "multiply",
                                                 "shuffle", "compare",  "load"};
const std::vector<std::string> kWideKinds = {
    "add", "subtract", "multiply", "fused multiply-add", "shuffle", "compare", "load"};

const std::vector<Part> kParts = {
    {"vectors::baseline::", "baseline", true, 128, kBaselineKinds},
    {"vectors::v3::", "x86-64-v3", true, 256, kWideKinds},
    {"vectors::v4::", "x86-64-v4", true, 512, kWideKinds},
    // The scalar side, with which the vectors' results are compared.
    {"(anonymous namespace)::Add<", "baseline", false, 128, {"add"}},
    {"(anonymous namespace)::Subtract<", "baseline", false, 128, {"subtract"}},
    {"(anonymous namespace)::Multiply<", "baseline", false, 128, {"multiply"}},
    {"(anonymous namespace)::Less<", "baseline", false, 128, {"compare"}},
    {"(anonymous namespace)::ComputeLaneByLane<", "baseline", false, 128, {}},
    // The C library's, which multiplies and adds for it, and for the baseline, on a processor that can.
    {"__fmaf_fma3", "x86-64-v3", false, 128, {}},
    {"__fma_fma3", "x86-64-v3", false, 128, {}},
};

// What is left out, and why.
struct Exclusion {
    const char* function;  // a part of its name
    const char* text;      // the beginning of the instruction
    const char* reason;
};
constexpr Exclusion kExclusions[] = {
    {"(anonymous namespace)::Draw<", "", "draws the operands, which both sides get alike"},
    {"vectors::v", "vzeroupper", "makes no result: it saves the time of a later change of width"},
};

struct Instruction {
    std::string function;
    std::string text;
    std::uint64_t address = 0;
    Bytes bytes;
};

std::string Output(const std::string& command) {
    FILE* const stream = popen(command.c_str(), "r");
    if (stream == nullptr)
        throw std::runtime_error("cannot start " + command);
    std::string output;
    std::array<char, 65536> piece{};
    for (std::size_t got = 0; (got = std::fread(piece.data(), 1, piece.size(), stream)) > 0;)
        output.append(piece.data(), got);
    if (pclose(stream) != 0)
        throw std::runtime_error(command + " failed");
    return output;
}

// "<vectors::v3::f(int)>:" behind the address begins a function, "ADDRESS:<tab>BYTES<tab>TEXT" is an
// instruction.
std::vector<Instruction> Disassemble(const std::string& program) {
    std::istringstream lines(
        Output("objdump --disassemble --demangle --wide --insn-width=16 '" + program + "'"));
    std::vector<Instruction> instructions;
    std::string function;
    for (std::string line; std::getline(lines, line);) {
        if (line.ends_with(">:")) {
            const std::size_t name = line.find('<') + 1;
            function = line.substr(name, line.size() - 2 - name);
            continue;
        }
        const std::size_t bytes = line.find('\t');
        const std::size_t text = line.find('\t', bytes + 1);
        if (text == std::string::npos)
            continue;
        Instruction instruction{
            function, line.substr(text + 1), std::stoull(line.substr(0, bytes), nullptr, 16), {}};
        std::istringstream words(line.substr(bytes, text - bytes));
        for (int byte = 0; words >> std::hex >> byte;)
            instruction.bytes.push_back(static_cast<std::uint8_t>(byte));
        instructions.push_back(instruction);
    }
    return instructions;
}

bool UsesVectors(const Instruction& instruction) {
    for (const char* name : {"%xmm", "%ymm", "%zmm", "vzero"}) {
        if (instruction.text.find(name) != std::string::npos)
            return true;
    }
    return false;
}

// Where in the file an address is loaded from.
std::uint64_t PlaceInFile(const std::string& program, std::uint64_t address) {
    std::ifstream file(program, std::ios::binary);
    Elf64_Ehdr header{};
    file.read(reinterpret_cast<char*>(&header), sizeof(header));
    file.seekg(static_cast<std::streamoff>(header.e_phoff));
    for (int i = 0; i < header.e_phnum; ++i) {
        Elf64_Phdr segment{};
        if (!file.read(reinterpret_cast<char*>(&segment), sizeof(segment)))
            break;
        if (segment.p_type == PT_LOAD && address >= segment.p_vaddr &&
            address < segment.p_vaddr + segment.p_filesz)
            return address - segment.p_vaddr + segment.p_offset;
    }
    throw std::runtime_error("an instruction stands nowhere in the file");
}

// One run of the broken program.
struct Trial {
    const Part* part;
    const Instruction* instruction;
    Break broken;
};

enum class Outcome : char { kNotRun, kNoticed, kUnnoticed, kCrashed };

struct Plan {
    std::vector<Trial> trials;
    std::vector<std::string> wrong;
    std::map<std::string, std::size_t> excluded;  // by reason
    std::map<const Part*, std::size_t> instructions;
};

const Exclusion* ExclusionOf(const Instruction& instruction) {
    for (const Exclusion& row : kExclusions) {
        if (instruction.function.find(row.function) != std::string::npos &&
            instruction.text.starts_with(row.text))
            return &row;
    }
    return nullptr;
}

const Part* PartOf(const Instruction& instruction) {
    const auto part = std::find_if(kParts.begin(), kParts.end(), [&](const Part& row) {
        return instruction.function.find(row.function) != std::string::npos;
    });
    return part == kParts.end() ? nullptr : &*part;
}

// `found` takes the kinds of operations at a part's full width.
void PlanInstruction(Plan& plan, const Part& part, const Instruction& instruction, bool levelIsHere,
                     std::set<std::string>& found) {
    const auto encoding = Decode(instruction.bytes);
    const Breaks breaks = encoding ? BreaksOf(instruction.bytes, *encoding) : Breaks();
    if (breaks.ways.empty()) {
        plan.wrong.push_back("what " + instruction.text + " is made of is not known, of " +
                             instruction.function);
        return;
    }
    if (encoding->bits == part.bits)
        found.insert(breaks.kind);
    if (!levelIsHere) {
        ++plan.excluded[std::string("for ") + part.level + ", which this processor has not"];
        return;
    }
    ++plan.instructions[&part];
    for (const Break& way : breaks.ways)
        plan.trials.push_back({&part, &instruction, way});
}

// `missing` is what the program says of the levels that the processor has not.
Plan PlanAll(const std::vector<Instruction>& instructions, const std::string& missing) {
    Plan plan;
    std::map<const Part*, std::set<std::string>> found;
    for (const Instruction& instruction : instructions) {
        if (!UsesVectors(instruction))
            continue;
        const Part* const part = PartOf(instruction);
        if (const Exclusion* const row = ExclusionOf(instruction))
            ++plan.excluded[row->reason];
        else if (part == nullptr)
            ++plan.excluded["in the program's frame and the libraries, which make no result"];
        else
            PlanInstruction(plan, *part, instruction,
                            missing.find(std::string("(") + part->level + ")") == missing.npos,
                            found[part]);
    }
    for (const Part& part : kParts) {
        for (const std::string& kind : part.kinds) {
            if (!found[&part].contains(kind))
                plan.wrong.push_back("no " + kind + " of " + std::to_string(part.bits) +
                                     " bits in " + part.function);
        }
    }
    return plan;
}

// The copy of the program in which one worker breaks one instruction after the other.
class Copy {
public:
    Copy(const std::string& program, const fs::path& copy) : program_(program), copy_(copy) {
        fs::copy_file(program, copy);
    }

    Outcome Try(const Trial& trial) const {
        const std::uint64_t place = PlaceInFile(program_, trial.instruction->address);
        Write(place, trial.broken.bytes);
        const Outcome outcome = Run(*trial.part);
        Write(place, trial.instruction->bytes);
        return outcome;
    }

private:
    void Write(std::uint64_t place, const Bytes& bytes) const {
        std::fstream file(copy_, std::ios::binary | std::ios::in | std::ios::out);
        file.seekp(static_cast<std::streamoff>(place));
        file.write(reinterpret_cast<const char*>(bytes.data()),
                   static_cast<std::streamsize>(bytes.size()));
        if (!file.flush())
            throw std::runtime_error("cannot write " + copy_.string());
    }

    // As the tool starts it: every level that the processor has is to run.
    Outcome Run(const Part& part) const {
        // A broken program may run for ever.
        const std::string command =
            "exec timeout --signal=KILL 20 '" + copy_.string() + "' --rounds=8 < /dev/null 2>&1";
        FILE* const stream = popen(command.c_str(), "r");
        if (stream == nullptr)
            throw std::runtime_error("cannot start the broken program");
        std::string output;
        for (int c = 0; (c = std::fgetc(stream)) != EOF;)
            output += static_cast<char>(c);
        const int status = pclose(stream);
        if (!WIFEXITED(status) || WEXITSTATUS(status) > 1)
            return Outcome::kCrashed;
        const std::size_t mismatch = output.find("MISMATCH: ");
        const std::string level = part.ownResults ? std::string(", ") + part.level + ", " : "";
        const bool told = mismatch != output.npos && output.find(level, mismatch) != output.npos;
        return WEXITSTATUS(status) == 1 && told ? Outcome::kNoticed : Outcome::kUnnoticed;
    }

    std::string program_;
    fs::path copy_;
};

std::vector<int> UsableProcessors() {
    cpu_set_t set;
    CPU_ZERO(&set);
    sched_getaffinity(0, sizeof(set), &set);
    std::vector<int> processors;
    for (int processor = 0; processor < CPU_SETSIZE; ++processor) {
        if (CPU_ISSET(processor, &set))
            processors.push_back(processor);
    }
    return processors;
}

// The part of a worker: a process of its own, on a processor of its own, so that the workload has one
// thread.
[[noreturn]] void Work(const std::string& program, const fs::path& folder, const Plan& plan,
                       std::size_t worker, const std::vector<int>& processors, Outcome* outcomes) {
    int status = EXIT_FAILURE;
    try {
        cpu_set_t set;
        CPU_ZERO(&set);
        CPU_SET(processors[worker], &set);
        sched_setaffinity(0, sizeof(set), &set);
        const Copy copy(program, folder / std::to_string(worker));
        for (std::size_t i = worker; i < plan.trials.size(); i += processors.size())
            outcomes[i] = copy.Try(plan.trials[i]);
        status = EXIT_SUCCESS;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "break_vectors: %s\n", error.what());
    }
    _exit(status);
}

std::vector<Outcome> TryAll(const std::string& program, const fs::path& folder, const Plan& plan) {
    void* const shared = mmap(nullptr, plan.trials.size() + 1, PROT_READ | PROT_WRITE,
                              MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (shared == MAP_FAILED)
        throw std::runtime_error("no memory for the outcomes");
    auto* const outcomes = static_cast<Outcome*>(shared);
    const std::vector<int> processors = UsableProcessors();
    for (std::size_t worker = 0; worker < processors.size(); ++worker) {
        if (fork() == 0)
            Work(program, folder, plan, worker, processors, outcomes);
    }
    while (wait(nullptr) > 0) {
    }
    return {outcomes, outcomes + plan.trials.size()};
}

const char* Text(Outcome outcome) {
    switch (outcome) {
        case Outcome::kNoticed:
            return "noticed";
        case Outcome::kUnnoticed:
            return "NOT NOTICED";
        case Outcome::kCrashed:
            return "CRASHED";
        case Outcome::kNotRun:
            break;
    }
    return "NOT RUN";
}

bool Report(const Plan& plan, const std::vector<Outcome>& outcomes) {
    std::map<const Part*, std::size_t> tried;
    std::map<const Part*, std::size_t> noticed;
    bool good = plan.wrong.empty() && !plan.trials.empty();
    for (std::size_t i = 0; i < outcomes.size(); ++i) {
        const Trial& trial = plan.trials[i];
        ++tried[trial.part];
        if (outcomes[i] == Outcome::kNoticed) {
            ++noticed[trial.part];
            continue;
        }
        good = false;
        std::printf("%s: %llx %s, %s, of %s\n", Text(outcomes[i]),
                    static_cast<unsigned long long>(trial.instruction->address),
                    trial.instruction->text.c_str(), trial.broken.what,
                    trial.instruction->function.c_str());
    }
    for (const std::string& text : plan.wrong)
        std::printf("%s\n", text.c_str());
    for (const Part& part : kParts) {
        if (const auto count = plan.instructions.find(&part); count != plan.instructions.end())
            std::printf("%s: %zu instructions, %zu of %zu breaks noticed\n", part.function,
                        count->second, noticed[&part], tried[&part]);
    }
    for (const auto& [reason, count] : plan.excluded)
        std::printf("left out: %zu instructions: %s\n", count, reason.c_str());
    return good;
}

int Check(const std::string& program) {
    const std::string told = Output("'" + program + "' --rounds=1 < /dev/null");
    const std::size_t missing = told.find("not on this processor: ");
    const std::vector<Instruction> instructions = Disassemble(program);
    const Plan plan = PlanAll(instructions, missing == told.npos ? "" : told.substr(missing));
    std::string pattern = fs::temp_directory_path() / "break-vectors.XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr)
        throw std::runtime_error("cannot make a folder");
    const std::vector<Outcome> outcomes = TryAll(program, pattern, plan);
    fs::remove_all(pattern);
    return Report(plan, outcomes) ? EXIT_SUCCESS : EXIT_FAILURE;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: break_vectors PROGRAM\n");
        return 2;
    }
    try {
        return Check(argv[1]);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "break_vectors: %s\n", error.what());
        return 2;
    }
}
