// Configures ssh and scp between a simulated host and its cards. Nobody can come from outside: the
// host's network is its own, so one key serves both ends, and quick algorithms are chosen.
#include "zelsim/SecureShell.h"

#include <arpa/inet.h>
#include <pwd.h>
#include <sys/mount.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "zelsim/Host.h"
#include "zelsim/HostFiles.h"

namespace simulated {

namespace {

namespace fs = std::filesystem;

constexpr char kFolder[] = "/run/zelsim/ssh";
constexpr char kKey[] = "/run/zelsim/ssh/key";
constexpr char kPublicKey[] = "/run/zelsim/ssh/key.pub";
constexpr char kKnownHosts[] = "/run/zelsim/ssh/known_hosts";
constexpr char kKeyMaker[] = "/usr/bin/ssh-keygen";

// sshd drops its rights into this folder, which the machine's own service makes when it starts.
constexpr char kPrivilegeSeparationFolder[] = "/run/sshd";

constexpr unsigned int kNetwork = 127U << 24 | 66U << 16;

// A login on a card is one as this user of the host, for sshd looks users up here. It has all rights
// and the shell that cards have, whatever root's shell is on this machine.
constexpr char kCardUser[] = "zelcard";
constexpr char kCardUserEntry[] = "zelcard:x:0:0:simulated cards:/:/bin/sh\n";

constexpr char kServerConfiguration[] =
    "HostKey /run/zelsim/ssh/key\n"
    "AuthorizedKeysFile /run/zelsim/ssh/key.pub\n"
    "AllowUsers zelcard\n"
    "PermitUserEnvironment yes\n"
    "PermitRootLogin prohibit-password\n"
    "PasswordAuthentication no\n"
    "KbdInteractiveAuthentication no\n"
    "UsePAM no\n"
    "UseDNS no\n"
    "StrictModes no\n"
    "PrintMotd no\n"
    "PrintLastLog no\n"
    "X11Forwarding no\n"
    "AllowAgentForwarding no\n"
    "AllowTcpForwarding no\n"
    "PidFile none\n"
    "SetEnv USER=root LOGNAME=root PATH=/bin\n"
    "Subsystem sftp internal-sftp\n";

constexpr char kClientConfiguration[] =
    "# The cards are all that can be reached from a simulated host. One that does not answer is\n"
    "# given up.\n"
    "Host zel*\n"
    "    ConnectTimeout 10\n"
    "    ServerAliveInterval 5\n"
    "    ServerAliveCountMax 2\n"
    "    User zelcard\n"
    "    IdentityFile /run/zelsim/ssh/key\n"
    "    IdentitiesOnly yes\n"
    "    IdentityAgent none\n"
    "    PreferredAuthentications publickey\n"
    "    BatchMode yes\n"
    "    GlobalKnownHostsFile /run/zelsim/ssh/known_hosts\n"
    "    UserKnownHostsFile none\n"
    "    StrictHostKeyChecking yes\n"
    "    CheckHostIP no\n"
    "    HostKeyAlgorithms ssh-ed25519\n"
    "    KexAlgorithms curve25519-sha256\n"
    "    AddressFamily inet\n";

std::string ReadFile(const char* path) {
    std::ifstream file(path);
    std::ostringstream text;
    text << file.rdbuf();
    if (!file)
        ThrowHostError(std::string("cannot read ") + path);
    return text.str();
}

// Adds lines to a file of the machine, as this host sees it.
void Extend(const char* path, const std::string& lines) {
    std::string text = fs::exists(path) ? ReadFile(path) : "";
    if (!text.empty() && text.back() != '\n')
        text += '\n';
    WriteFile(path, text + lines, fs::perms(0644));
}

void NameCards(std::size_t cards) {
    std::string lines;
    for (std::size_t i = 0; i < cards; ++i)
        lines += CardAddressText(i) + " zel" + std::to_string(i) + "\n";
    Extend("/etc/hosts", lines);
}

// What root has told ssh on this machine is for other hosts, and would come before what is told here.
void HideUserConfiguration() {
    const passwd* root = getpwuid(0);
    const std::string folder = std::string(root == nullptr ? "/root" : root->pw_dir) + "/.ssh";
    if (fs::is_directory(folder))
        Mount("zelsim", folder, "tmpfs", MS_RDONLY | MS_NOSUID, "mode=0700");
}

}  // namespace

unsigned int CardAddress(std::size_t card) {
    return kNetwork + static_cast<unsigned int>(card) + 1;
}

std::string CardAddressText(std::size_t card) {
    const in_addr address{.s_addr = htonl(CardAddress(card))};
    char text[INET_ADDRSTRLEN];
    return inet_ntop(AF_INET, &address, text, sizeof(text));
}

SecureShell::SecureShell(std::size_t cards) : cards_(cards) {
    if (cards == 0)
        return;
    if (access(kSshd, X_OK) != 0)
        ThrowHostError(std::string("cannot use ") + kSshd + " (package openssh-server)");
    fs::create_directories(kFolder);
    // Before the key's maker runs, which looks up who runs it.
    if (getpwnam(kCardUser) == nullptr)
        Extend("/etc/passwd", kCardUserEntry);
    const char* const arguments[] = {kKeyMaker, "-q",     "-t", "ed25519", "-N",   "",
                                     "-C",      "zelsim", "-f", kKey,      nullptr};
    keyMaker_.emplace(arguments, "openssh-client");
}

void SecureShell::Finish() {
    if (cards_ == 0)
        return;
    fs::create_directories(kPrivilegeSeparationFolder);
    fs::permissions(kPrivilegeSeparationFolder, fs::perms(0755));
    WriteFile(kSshdConfiguration, kServerConfiguration, fs::perms(0644));
    WriteFile("/etc/ssh/ssh_config", kClientConfiguration, fs::perms(0644));
    NameCards(cards_);
    HideUserConfiguration();

    keyMaker_->Finish();
    WriteFile(kKnownHosts, "zel* " + ReadFile(kPublicKey), fs::perms(0644));
}

}  // namespace simulated
