// Makes the cards' root folders. What all have alike is one read-only folder, which a root shows from
// the card's first connection on, so that hundreds of cards cost little more than two.
#include "zelsim/CardSystems.h"

#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <filesystem>
#include <string>

#include "zelsim/Host.h"
#include "zelsim/HostFiles.h"
#include "zelsim/Progress.h"

namespace simulated {

namespace {

namespace fs = std::filesystem;

constexpr char kRootsFolder[] = "/run/zelsim/cards";
constexpr char kSharedFolder[] = "/run/zelsim/card-usr";
constexpr auto kReadable = fs::perms(0644);
constexpr char kBusybox[] = "/bin/busybox";

// A card keeps its files in memory. The programs that the tool sends take a few of these bytes.
constexpr char kRootOptions[] = "size=64m,mode=0755";

// What someone who looks around on a card calls.
constexpr const char* kCommands[] = {
    "ash",       "awk",      "base64",   "basename", "cat",    "chmod",   "cksum",    "cmp",
    "cp",        "cut",      "date",     "dd",       "diff",   "dirname", "du",       "echo",
    "env",       "false",    "find",     "grep",     "head",   "hexdump", "hostname", "id",
    "kill",      "ln",       "ls",       "md5sum",   "mkdir",  "mv",      "nproc",    "printf",
    "pwd",       "readlink", "realpath", "rm",       "rmdir",  "sed",     "seq",      "sh",
    "sha256sum", "sleep",    "sort",     "stat",     "stty",   "sync",    "tail",     "tee",
    "test",      "time",     "timeout",  "touch",    "tr",     "true",    "tty",      "uname",
    "uniq",      "vi",       "wc",       "which",    "whoami", "xargs",   "yes",
};

struct Device {
    const char* name;
    unsigned major;
    unsigned minor;
};
constexpr Device kDevices[] = {
    {"null", 1, 3},   {"zero", 1, 5},    {"full", 1, 7},
    {"random", 1, 8}, {"urandom", 1, 9}, {"tty", 5, 0},
};

void MakeDevices(const std::string& folder) {
    fs::create_directory(folder);
    for (const Device& device : kDevices) {
        const std::string path = folder + "/" + device.name;
        if (mknod(path.c_str(), S_IFCHR | 0666, makedev(device.major, device.minor)) != 0 ||
            chmod(path.c_str(), 0666) != 0)
            ThrowHostError("cannot make " + path);
    }
}

void MakeSharedFolder() {
    const std::string shared = kSharedFolder;
    fs::create_directories(shared);
    Mount("zelsim", shared, "tmpfs", MS_NOSUID, "mode=0755");
    fs::create_directory(shared + "/bin");
    std::error_code missing;
    if (!fs::copy_file(kBusybox, shared + "/bin/busybox", missing))
        throw HostError(std::string("cannot copy ") + kBusybox +
                        ", the cards' shell (package busybox-static): " + missing.message());
    for (const char* command : kCommands)
        fs::create_symlink("busybox", shared + "/bin/" + command);
    MakeDevices(shared + "/dev");
    WriteFile(shared + "/etc/passwd", "root:x:0:0:root:/:/bin/sh\n", kReadable);
    WriteFile(shared + "/etc/group", "root:x:0:\n", kReadable);
    if (mount(nullptr, kSharedFolder, nullptr, MS_REMOUNT | MS_RDONLY | MS_NOSUID, nullptr) != 0)
        ThrowHostError("cannot protect the cards' programs");
}

// What sshd hands to each program that it starts on the card.
void WriteEnvironment(const std::string& root, const Card& card) {
    const auto line = [](const char* variable, const CoreFault& fault) {
        const std::string operation(fault.operation);
        return operation.empty()
                   ? ""
                   : variable + ("=" + operation) + ":" + std::to_string(fault.place) + "\n";
    };
    const std::string text = line("VPU_WORKLOAD_CORRUPT", card.vpuFault) +
                             line("CACHE_WORKLOAD_CORRUPT", card.cacheFault);
    if (!text.empty())
        WriteFile(root + "/.ssh/environment", text, kReadable);
}

void MakeRoot(const std::string& root, const Card& card) {
    fs::create_directory(root);
    Mount("zelsim", root, "tmpfs", MS_NOSUID, kRootOptions);
    for (const char* folder : {"/etc", "/tmp", "/usr"})
        fs::create_directory(root + folder);
    fs::permissions(root + "/tmp", fs::perms(01777));
    fs::create_symlink("usr/bin", root + "/bin");
    fs::create_symlink("usr/dev", root + "/dev");
    fs::create_symlink("../usr/etc/passwd", root + "/etc/passwd");
    fs::create_symlink("../usr/etc/group", root + "/etc/group");
    // Node 0 is the host.
    WriteFile(root + "/etc/zelsim-node", std::to_string(card.node + 1) + "\n", kReadable);
    WriteEnvironment(root, card);
}

}  // namespace

std::string CardRoot(std::size_t card) {
    return std::string(kRootsFolder) + "/zel" + std::to_string(card);
}

void MakeCardRoots(const std::vector<Card>& cards) {
    if (cards.empty())
        return;
    MakeSharedFolder();
    fs::create_directories(kRootsFolder);
    Progress progress("starting cards", cards.size());
    for (std::size_t i = 0; i < cards.size(); ++i) {
        MakeRoot(CardRoot(i), cards[i]);
        progress.Step();
    }
}

void StartCardSystem(std::size_t card) {
    Mount(kSharedFolder, CardRoot(card) + "/usr", nullptr, MS_BIND, "");
}

}  // namespace simulated
