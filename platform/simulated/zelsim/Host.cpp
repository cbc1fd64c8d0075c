// Makes a simulated host around this process.
#include "zelsim/Host.h"

#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "host/HostState.h"
#include "zelsim/CardSystems.h"
#include "zelsim/HostFiles.h"
#include "zelsim/PackageDatabase.h"
#include "zelsim/SecureShell.h"

namespace simulated {

namespace {

namespace fs = std::filesystem;

constexpr char kHostFolder[] = "/run/zelsim";
constexpr char kDefaultPath[] = "/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin";

// Where the kernel's class folder links to; the devices themselves are not there.
constexpr char kDevicePath[] = "../../devices/pci0000:00/0000:00:02.0/";

// Folders that a host with cards has more files in than this machine.
constexpr const char* kGrowingFolders[] = {"/etc",       "/run",     "/usr/share",
                                           "/sys/class", "/var/lib", "/var/log"};

// Folders in which nothing of this machine shows: all their files belong to the cards and their
// software, are notes of what was done with them, or tell rpm where its packages are.
constexpr const char* kOwnFolders[] = {kHostFolder,        "/etc/hosk",       "/etc/rpm",
                                       "/run/zeldiag",     "/usr/share/hosk", "/usr/share/flash",
                                       "/var/lib/zeldiag", "/sys/class/zel"};

constexpr const char* kHandlerImages[] = {
    "/usr/share/hosk/boot/memdiag-kernel.emberridge.elf",
    "/usr/share/flash/MFG/md_handler_ev1x.elf",
};

// Lays a memory file system over each of the folders: what is written there exists on this host alone.
void GrowFolders() {
    constexpr char kScratch[] = "/tmp";
    Mount("zelsim", kScratch, "tmpfs", MS_NOSUID, "mode=0700");
    for (const char* folder : kGrowingFolders) {
        const std::string upper = std::string(kScratch) + "/upper" + folder;
        const std::string work = std::string(kScratch) + "/work" + folder;
        fs::create_directories(upper);
        fs::create_directories(work);
        std::string options = "lowerdir=";
        options.append(folder).append(",upperdir=").append(upper).append(",workdir=").append(work);
        Mount("zelsim", folder, "overlay", 0, options);
    }
    if (umount2(kScratch, MNT_DETACH) != 0)
        ThrowHostError("cannot unmount the scratch folder");
}

void StartLoopback() {
    const int control = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    ifreq request{};
    std::strcpy(request.ifr_name, "lo");
    request.ifr_flags = IFF_UP | IFF_RUNNING;
    const bool started = control >= 0 && ioctl(control, SIOCSIFFLAGS, &request) == 0;
    const int error = errno;
    if (control >= 0)
        close(control);
    errno = error;
    if (!started)
        ThrowHostError("cannot start the loopback network");
}

// A folder that holds nothing, whatever this machine has there: on one with cards of its own, they and
// their files do not show on the simulated host.
void AddEmptyFolder(const char* path) {
    if (!fs::create_directories(path))
        Mount("zelsim", path, "tmpfs", MS_NOSUID, "mode=0755");
}

void AddCardLinks(const std::vector<Card>& cards) {
    const fs::path classFolder = "/sys/class/zel";
    for (std::size_t i = 0; i < cards.size(); ++i) {
        const std::string name = "zel" + std::to_string(i);
        fs::create_symlink(kDevicePath + ToText(cards[i].pcie) + "/zel/" + name,
                           classFolder / name);
    }
}

// Gives the installed tool the simulated cards' libraries in the place where it looks first. Elsewhere
// on the machine it finds the vendor's. In a build tree all libraries stand in that place already.
void AddCardLibraries(const fs::path& programFolder) {
    const fs::path tree = programFolder.parent_path();
    if (!fs::exists(tree / "simulated"))
        return;
    // Relative folders, because the options know separators that a path may hold.
    fs::current_path(tree);
    Mount("zelsim", tree / "lib", "overlay", MS_RDONLY, "lowerdir=simulated:lib");
}

void ExtendSearchPath(const std::string& programFolder) {
    const char* path = std::getenv("PATH");
    const std::string searchPath = programFolder + ":" + (path == nullptr ? kDefaultPath : path);
    setenv("PATH", searchPath.c_str(), 1);
}

void AddHandlerImages() {
    for (const char* image : kHandlerImages)
        WriteFile(image, "simulated memory-diagnostic handler\n", fs::perms(0644));
}

}  // namespace

void EnterNamespaces() {
    if (geteuid() != 0)
        throw HostError("a simulated host needs root rights");
    if (unshare(CLONE_NEWNET | CLONE_NEWPID) != 0)
        ThrowHostError("cannot make private namespaces");
}

void BuildHost(const Fleet& fleet, const std::string& programFolder) {
    // The first process's alone: the process outside keeps the /proc in which it finds itself. Nothing
    // that is mounted from here on reaches the machine.
    if (unshare(CLONE_NEWNS) != 0)
        ThrowHostError("cannot make a private mount namespace");
    if (mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0)
        ThrowHostError("cannot make the mounts private");
    // The host's folders are readable, and sshd refuses those that others may write, whatever the
    // caller's mask.
    const mode_t callersMask = umask(022);
    try {
        std::error_code error;
        const fs::path folder = fs::current_path(error);
        Mount("proc", "/proc", "proc", MS_NOSUID | MS_NODEV | MS_NOEXEC, "");
        GrowFolders();
        for (const char* own : kOwnFolders)
            AddEmptyFolder(own);
        PackageDatabase packageDatabase{std::string(fleet.hoskVersion)};
        StartLoopback();
        SecureShell secureShell(fleet.cards.size());
        HostState::Create(kStateFile, fleet);
        MakeCardRoots(fleet.cards);
        AddCardLinks(fleet.cards);
        AddHandlerImages();
        AddCardLibraries(programFolder);
        ExtendSearchPath(programFolder);
        packageDatabase.Finish();
        secureShell.Finish();
        umask(callersMask);
        // The same folder as this host sees it: another one when a file system was laid over it. When it
        // has gone meanwhile, there is nothing to move to.
        fs::current_path(folder, error);
    } catch (const std::system_error& failure) {
        throw HostError(failure.what());
    }
}

}  // namespace simulated
