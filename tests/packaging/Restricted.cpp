// Runs a command with no other system calls, and no other families of sockets, than a service of systemd would have:
// what is not allowed fails with EPERM, as such a service has it.
//
//   restricted FAMILY,FAMILY... COMMAND...     the calls' names stand on standard input, which the command has not
#include <fcntl.h>
#include <seccomp.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <iostream>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

namespace {

constexpr int kFailed = 125;

const std::map<std::string, int>& Families() {
    static const std::map<std::string, int> families = {{"AF_UNIX", AF_UNIX},
                                                        {"AF_INET", AF_INET},
                                                        {"AF_INET6", AF_INET6},
                                                        {"AF_NETLINK", AF_NETLINK}};
    return families;
}

void Check(int result, const std::string& what) {
    if (result < 0)
        throw std::system_error(-result, std::generic_category(), what);
}

std::vector<int> ReadCalls() {
    std::vector<int> calls;
    // Names that this machine's architecture lacks are listed, too.
    for (std::string name; std::cin >> name;) {
        if (const int call = seccomp_syscall_resolve_name(name.c_str()); call >= 0)
            calls.push_back(call);
    }
    constexpr std::size_t kFewest = 100;
    if (calls.size() < kFewest)
        throw std::runtime_error("these are not the calls of a service");
    return calls;
}

void Restrict(const std::string& families) {
    const auto filter = seccomp_init(SCMP_ACT_ERRNO(EPERM));
    if (filter == nullptr)
        throw std::bad_alloc();
    for (const int call : ReadCalls()) {
        if (call != SCMP_SYS(socket))
            Check(seccomp_rule_add(filter, SCMP_ACT_ALLOW, call, 0), "seccomp_rule_add");
    }
    std::istringstream names(families);
    for (std::string name; std::getline(names, name, ',');) {
        const scmp_arg_cmp isFamily{.arg = 0,
                                    .op = SCMP_CMP_EQ,
                                    .datum_a = static_cast<scmp_datum_t>(Families().at(name)),
                                    .datum_b = 0};
        Check(seccomp_rule_add_array(filter, SCMP_ACT_ALLOW, SCMP_SYS(socket), 1, &isFamily),
              "seccomp_rule_add_array");
    }
    Check(seccomp_load(filter), "seccomp_load");
    seccomp_release(filter);
}

}  // namespace

int main(int argc, char** argv) {
    constexpr int kWords = 3;
    try {
        if (argc < kWords)
            throw std::runtime_error("a list of families and a command are needed");
        Restrict(argv[1]);
        const int nothing = open("/dev/null", O_RDONLY | O_CLOEXEC);
        if (nothing < 0 || dup2(nothing, STDIN_FILENO) < 0)
            Check(-errno, "/dev/null");
        execvp(argv[2], argv + 2);
        Check(-errno, argv[2]);
    } catch (const std::exception& fault) {
        std::cerr << "restricted: " << fault.what() << '\n';
    }
    return kFailed;
}
