// Looks for what tests need.
#include "host/Preflight.h"

#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <stdexcept>
#include <system_error>

#include "host/SettingsFile.h"
#include "run/Child.h"

namespace zelhealth {

namespace fs = std::filesystem;

namespace {

using Kind = PreflightFault::Kind;

constexpr std::chrono::seconds kToolDeadline{30};
constexpr std::chrono::seconds kLoginDeadline{30};
constexpr std::chrono::seconds kQueryDeadline{10};
constexpr int kNotLoaded = 127;
constexpr int kSshFailed = 255;

constexpr std::string_view kNeeds[] = {"libraries",     "settings", "ssh",          "scp",
                                       "card_programs", "host_key", "memdiag_image"};

// Of every other card the tool thinks as of one of the older generation.
constexpr char kCurrent[] = "er1x";

constexpr const char* kPrograms[] = {"cache_workload", "vpu_workload", "vorl_accept_dma_zel",
                                     "vorl_connect_dma_zel"};

// Identities with which Settings.ini is delivered, in its order.
constexpr std::array<unsigned long, 2> kProvisionalDevices = {0x00501F5A, 0x00401F5A};

PreflightFault Setup(std::string text, std::string mend) {
    return {.kind = Kind::setup, .text = std::move(text), .mend = std::move(mend)};
}

PreflightFault CardFault(std::string text) {
    return {.kind = Kind::card, .text = std::move(text), .mend = ""};
}

std::string Install(const char* debian, const char* redHat) {
    return access("/usr/bin/apt-get", X_OK) == 0 ? fmt::format("apt-get install {}", debian)
                                                 : fmt::format("dnf install {}", redHat);
}

// Why a file cannot be used as one that is read or, with X_OK, run; "" when it can.
std::string WhyNot(const fs::path& file, int how) {
    struct stat status {};
    if (stat(file.c_str(), &status) != 0)
        return std::strerror(errno);
    if (!S_ISREG(status.st_mode))
        return "it is no file";
    // Root may run what somebody may run.
    return access(file.c_str(), how) == 0 ? "" : std::strerror(errno);
}

// The last line that says something; ssh ends its lines as a terminal in raw mode needs it.
std::string LastLine(const std::string& text) {
    std::string last;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        while (!line.empty() && line.back() == '\r')
            line.pop_back();
        if (!line.empty())
            last = line;
    }
    return last;
}

bool Holds(const std::string& text, std::string_view part) {
    return text.find(part) != std::string::npos;
}

// The need's own word and, behind the colon, what of it.
struct Need {
    std::string_view word;
    std::string_view what;
};

Need Split(std::string_view need) {
    const auto colon = std::min(need.find(':'), need.size());
    return {need.substr(0, colon), need.substr(std::min(colon + 1, need.size()))};
}

// --------------------------------------------------------------------------------------------- the tool

PreflightFault MissingLibrary(const std::string& line) {
    const bool own = Holds(line, "libSettings.so") || Holds(line, "libPlyxDebug.so");
    return Setup(
        "the tool does not start: " + line,
        own ? Install("--reinstall zeldiag", "zeldiag")
            : "install the cards' host software, which brings this library, then: ldconfig");
}

PreflightFault ToolFault(const fs::path& tool, const fs::path& settings, const ChildResult& child) {
    const std::string line = LastLine(child.err);
    switch (child.end) {
        case ChildEnd::notStarted:
            return Setup("the tool cannot be started: " + child.error,
                         Install("zeldiag", "zeldiag"));
        case ChildEnd::exited:
            if (child.code == kNotLoaded)
                return MissingLibrary(line);
            if (Holds(child.out, "settings"))
                return Setup(fmt::format("the tool cannot use its settings: {}", line),
                             fmt::format("correct {}", settings.string()));
            return Setup(fmt::format("{} does not even show its help, it ends with {}: {}",
                                     tool.string(), child.code, line),
                         Install("--reinstall zeldiag", "zeldiag"));
        default:
            return Setup(fmt::format("{} does not even show its help", tool.string()),
                         Install("--reinstall zeldiag", "zeldiag"));
    }
}

// What the shell would make something else of. The path stands unquoted in the command that sends a file.
constexpr std::string_view kSpecial = " \t\n|&;<>()$`\\\"'*?[{";

// ------------------------------------------------------------------------------------------------ logins

// The file in which ssh looks first for a card's key.
std::string KnownHosts(const std::string& ssh, const std::string& card, const Stop& stop) {
    ChildSpec spec;
    spec.command = {ssh, "-G", card};
    spec.deadline = kQueryDeadline;
    std::string user;
    std::string global;
    std::istringstream lines(RunChild(spec, stop).out);
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        std::string key;
        std::string file;
        words >> key >> file;
        if (key == "userknownhostsfile" && file != "none" && file != "/dev/null")
            user = file;
        else if (key == "globalknownhostsfile")
            global = file;
    }
    return user.empty() ? global : user;
}

struct LoginFault {
    std::string_view says;  // in what ssh prints
    Kind kind;
    std::string_view
        text;  // {} is the card, and so in `mend`, where {known} is the file of host keys
    std::string_view mend;
};

constexpr LoginFault kLoginFaults[] = {
    {"REMOTE HOST IDENTIFICATION HAS CHANGED", Kind::setup,
     "{card} shows another host key than the one that is known",
     "ssh-keygen -q -R {card} -f {known} && ssh-keyscan {card} >> {known}"},
    {"Host key verification failed", Kind::setup, "the host key of {card} is not known",
     "ssh-keyscan {card} >> {known}"},
    {"Could not resolve hostname", Kind::setup, "{card} has no address on this host",
     "echo ADDRESS {card} >> /etc/hosts, with the address of the card"},
    {"Network is unreachable", Kind::setup, "this host has no way to the address of {card}",
     "service hosk start"},
    {"Bad configuration option", Kind::setup, "the configuration of ssh is wrong",
     "ssh -G {card}, which names file and line, then correct it"},
    {"Bad owner or permissions", Kind::setup, "ssh refuses its configuration",
     "chown root: FILE && chmod go-w FILE, with the file that it names"},
    {"Permission denied", Kind::setup, "a login on {card} would ask for a password, or is refused",
     "ssh-copy-id {card}"},
    {"Connection refused", Kind::card, "{card} refuses connections", ""},
    {"timed out", Kind::card, "{card} does not answer", ""},
    {"not responding", Kind::card, "{card} does not answer", ""},
    {"No route to host", Kind::card, "{card} does not answer", ""},
    {"Connection reset", Kind::card, "{card} breaks connections off", ""},
    {"Connection closed", Kind::card, "{card} breaks connections off", ""},
    {"closed by remote host", Kind::card, "{card} breaks connections off", ""},
};

PreflightFault ExplainLogin(const std::string& said, const std::string& card,
                            const std::string& known) {
    const std::string line = LastLine(said);
    const auto fill = [&](std::string_view text) {
        return fmt::format(fmt::runtime(text), fmt::arg("card", card), fmt::arg("known", known));
    };
    for (const LoginFault& fault : kLoginFaults) {
        if (Holds(said, fault.says))
            return {.kind = fault.kind,
                    .text = fill(fault.text) + ": " + line,
                    .mend = fill(fault.mend)};
    }
    return Setup(fmt::format("ssh cannot log in on {}: {}", card, line),
                 fmt::format("ssh -v {} true, which tells more", card));
}

}  // namespace

Preflight::Preflight(PreflightPlaces places) : places_(std::move(places)) {
    std::error_code error;
    folder_ = fs::weakly_canonical(places_.tool, error).parent_path();
}

bool Preflight::IsNeed(std::string_view need) {
    const Need split = Split(need);
    const bool known =
        std::find(std::begin(kNeeds), std::end(kNeeds), split.word) != std::end(kNeeds);
    return known &&
           (split.what.empty() || split.word == "settings" || split.word == "card_programs");
}

Preflight::Fault Preflight::Check(const PreflightCard& card, const std::vector<std::string>& needs,
                                  const Stop& stop) {
    for (const std::string& need : needs) {
        if (Fault fault = CheckNeed(card, need, stop))
            return fault;
    }
    return std::nullopt;
}

// A fault of a card may be over at the next test, and a stop says nothing: neither is remembered.
Preflight::Fault Preflight::CheckNeed(const PreflightCard& card, const std::string& need,
                                      const Stop& stop) {
    const auto [word, what] = Split(need);
    const std::string key =
        fmt::format("{} {}", need, word == "host_key" ? card.card : card.generation);
    {
        const std::lock_guard lock(mutex_);
        if (const auto found = known_.find(key); found != known_.end())
            return found->second;
    }
    Fault fault;
    if (word == "libraries")
        fault = CheckTool(stop);
    else if (word == "settings")
        fault = CheckSettings(what);
    else if (word == "ssh" || word == "scp")
        fault = CheckClient(word == "ssh" ? places_.ssh : places_.scp);
    else if (word == "card_programs")
        fault = CheckPrograms(card.generation, what);
    else if (word == "memdiag_image")
        fault = CheckImage(card.generation);
    else if (word == "host_key")
        fault = card.mode == "normal" ? CheckLogin(card.card, stop) : std::nullopt;
    else
        throw std::logic_error("no such need: " + need);
    if (!fault || fault->kind == Kind::setup) {
        const std::lock_guard lock(mutex_);
        known_.emplace(key, fault);
    }
    return fault;
}

Preflight::Fault Preflight::CheckTool(const Stop& stop) const {
    ChildSpec spec;
    spec.command = {places_.tool.string(), "-help"};
    spec.deadline = kToolDeadline;
    const ChildResult child = RunChild(spec, stop);
    if (child.end == ChildEnd::exited && child.code == 0)
        return std::nullopt;
    if (stop.Requested())
        return PreflightFault{.kind = Kind::stopped, .text = "interrupted", .mend = ""};
    return ToolFault(places_.tool, folder_ / "Settings.ini", child);
}

Preflight::Fault Preflight::CheckSettings(std::string_view key) const {
    const fs::path file = folder_ / "Settings.ini";
    SettingsKeys keys;
    try {
        keys = ReadSettings(file);
    } catch (const std::runtime_error& fault) {
        return Setup(fmt::format("{} cannot be read: {}", file.string(), fault.what()),
                     Install("--reinstall zeldiag", "zeldiag"));
    }
    const auto found = keys.find(std::string(key));
    if (key.empty() || (found != keys.end() && !found->second.empty()))
        return std::nullopt;
    const auto dot = key.find('.');
    return Setup(fmt::format("{} has no values for {} in [{}]", file.string(), key.substr(dot + 1),
                             key.substr(0, dot)),
                 fmt::format("add the line \"{} = ...\" below [{}] in {}", key.substr(dot + 1),
                             key.substr(0, dot), file.string()));
}

Preflight::Fault Preflight::CheckClient(const fs::path& program) const {
    const std::string why = WhyNot(program, X_OK);
    if (why.empty())
        return std::nullopt;
    return Setup(fmt::format("{} cannot be used: {}", program.string(), why),
                 Install("openssh-client", "openssh-clients"));
}

Preflight::Fault Preflight::CheckPrograms(const std::string& generation,
                                          std::string_view name) const {
    if (folder_.string().find_first_of(kSpecial) != std::string::npos)
        return Setup(
            fmt::format("{} holds a character that the shell takes for something else, and "
                        "no program can be sent to a card from there",
                        folder_.string()),
            "install the tool below a path of letters, digits, \"/\", \"-\", \"_\" and \".\"");
    const char* const suffix = generation == kCurrent ? "er1x" : "ev1x";
    for (const char* program : kPrograms) {
        if (!name.empty() && name != program)
            continue;
        const fs::path file = folder_ / fmt::format("{}_{}", program, suffix);
        if (const std::string why = WhyNot(file, R_OK | X_OK); !why.empty())
            return Setup(fmt::format("{} cannot be sent to a card: {}", file.string(), why),
                         Install("--reinstall zeldiag-card-programs", "zeldiag-card-programs"));
    }
    return std::nullopt;
}

Preflight::Fault Preflight::CheckImage(const std::string& generation) const {
    const fs::path& image = generation == kCurrent ? places_.currentImage : places_.olderImage;
    const std::string why = WhyNot(image, R_OK);
    if (why.empty())
        return std::nullopt;
    return Setup(
        fmt::format("{}, which the card runs in memory-diagnostic mode, cannot be read: {}",
                    image.string(), why),
        "install the cards' host software again: this file belongs to it");
}

// As the tool logs in, but that nothing can be asked, and a card that is silent is not waited for
// whatever the configuration says.
Preflight::Fault Preflight::CheckLogin(const std::string& card, const Stop& stop) const {
    if (Fault missing = CheckClient(places_.ssh))
        return missing;
    ChildSpec spec;
    spec.command = {places_.ssh.string(),
                    "-o",
                    "BatchMode=yes",
                    "-o",
                    "ConnectTimeout=10",
                    "-o",
                    "ServerAliveInterval=5",
                    "-o",
                    "ServerAliveCountMax=2",
                    card,
                    "true"};
    spec.environment = {"LC_ALL=C", "SSH_ASKPASS", "SSH_ASKPASS_REQUIRE"};
    spec.deadline = kLoginDeadline;
    const ChildResult child = RunChild(spec, stop);
    if (child.end == ChildEnd::exited && child.code != kSshFailed)
        return std::nullopt;  // what the card's shell makes of the word is the tests' business
    if (stop.Requested())
        return PreflightFault{.kind = Kind::stopped, .text = "interrupted", .mend = ""};
    if (child.end == ChildEnd::timedOut || child.end == ChildEnd::givenUp)
        return CardFault(
            fmt::format("{} does not answer: no login within {} s", card, kLoginDeadline.count()));
    return ExplainLogin(child.err, card, KnownHosts(places_.ssh.string(), card, stop));
}

bool Preflight::IdentitiesAreProvisional() const {
    try {
        const SettingsKeys keys = ReadSettings(folder_ / "Settings.ini");
        const auto found = keys.find("pcieConfigReg.deviceID");
        if (found == keys.end() || found->second.size() != kProvisionalDevices.size())
            return false;
        for (std::size_t i = 0; i < kProvisionalDevices.size(); ++i) {
            if (std::strtoul(found->second[i].c_str(), nullptr, 0) != kProvisionalDevices[i])
                return false;
        }
        return true;
    } catch (const std::runtime_error&) {
        return false;
    }
}

}  // namespace zelhealth
