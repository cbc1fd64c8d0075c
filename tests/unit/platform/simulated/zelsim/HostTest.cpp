// What stands on a simulated host.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "Zelsim.h"

namespace {

using testing::HasSubstr;

std::string Cards(int count) {
    std::string text;
    for (int i = 0; i < count; ++i)
        text += "[[card]]\n";
    return text;
}

TEST(ZelsimHost, CardsHaveTheirClassLinks) {
    const TemporaryFile fleet("[[card]]\n[[card]]\npcie = \"0001:83:1f.7\"\n");
    const Ended ended = RunShell(
        "readlink /sys/class/zel/zel0 /sys/class/zel/zel1; ls /sys/class/zel", fleet.Path());
    EXPECT_EQ(ended.out,
              "../../devices/pci0000:00/0000:00:02.0/0000:02:00.0/zel/zel0\n"
              "../../devices/pci0000:00/0000:00:02.0/0001:83:1f.7/zel/zel1\n"
              "zel0\nzel1\n")
        << ended.err;
}

TEST(ZelsimHost, OtherClassLinksStillResolve) {
    EXPECT_EQ(RunShell("test -e /sys/class/net/lo/mtu").status, 0);
}

TEST(ZelsimHost, NoCardsAndManyCards) {
    const TemporaryFile none("");
    EXPECT_EQ(RunShell("ls /sys/class/zel | wc -l", none.Path()).out, "0\n");
    const TemporaryFile many(Cards(300));
    EXPECT_EQ(RunShell("ls /sys/class/zel | wc -l", many.Path()).out, "300\n");
    const TemporaryFile tooMany(Cards(1025));
    EXPECT_EQ(RunShell("true", tooMany.Path()).status, 125);
}

TEST(ZelsimHost, FilesOfTheHostStack) {
    const Ended ended = RunShell(
        "ls -A /etc/hosk; test -s /usr/share/hosk/boot/memdiag-kernel.emberridge.elf &&"
        "test -s /usr/share/flash/MFG/md_handler_ev1x.elf && echo images");
    EXPECT_EQ(ended.out, "images\n") << ended.err;
}

TEST(ZelsimHost, PackageManagerKnowsTheHostStack) {
    const Ended ended = RunShell("rpm -qi hosk-daemon | grep Version");
    EXPECT_EQ(ended.out, "Version     : 3.1.2\n");
    EXPECT_EQ(RunShell("rpm -qi hosk-daemon >/dev/null").status, 0);
    EXPECT_EQ(RunShell("rpm -qi other; echo $?").out, "package other is not installed\n1\n");
    EXPECT_EQ(RunShell("rpm -qa --qf '%{name} %{version} %{release} %{arch} %{os} %{size}\n'").out,
              "hosk-daemon 3.1.2 1 noarch linux 0\n");
    EXPECT_EQ(RunShell("expr $(date +%s) - $(rpm -q --qf '%{installtime}' hosk-daemon) '<' 60").out,
              "1\n");
}

TEST(ZelsimHost, PackageQueryIsNotForRootAlone) {
    const std::string nobody = "setpriv --reuid=65534 --clear-groups ";
    EXPECT_EQ(RunShell(nobody + "rpm -q hosk-daemon").out, "hosk-daemon-3.1.2-1.noarch\n");
}

TEST(ZelsimHost, PackageQueryTakesAnyVersionText) {
    const TemporaryFile fleet("[host]\nhosk_version = \"1'2 $(id) \\\\n %s\"\n");
    EXPECT_EQ(RunShell("rpm -qi hosk-daemon | grep Version", fleet.Path()).out,
              "Version     : 1'2 $(id) \\n %s\n");
    const std::string longest(254, '7');
    const TemporaryFile longFleet("[host]\nhosk_version = \"" + longest + "\"\n");
    EXPECT_EQ(RunShell("rpm -qi hosk-daemon | grep Version", longFleet.Path()).out,
              "Version     : " + longest + "\n");
}

TEST(ZelsimHost, StackThatIsNotInstalled) {
    const TemporaryFile fleet("[host]\nhosk_version = \"\"\n");
    const Ended ended = RunShell("rpm -qi hosk-daemon; echo $?; rpm -qa", fleet.Path());
    EXPECT_EQ(ended.out, "package hosk-daemon is not installed\n1\n");
    EXPECT_EQ(ended.err, "");
}

TEST(ZelsimHost, PackagesOfTheMachineAreNotThoseOfTheHost) {
    // A host inside a host takes the outer one for the machine.
    const Ended ended = RunShell(
        "rpm -e hosk-daemon; rpm -q hosk-daemon; zelsim run rpm -q hosk-daemon;"
        "zelsim run rpm -e hosk-daemon; rpm -E %_dbpath");
    EXPECT_EQ(ended.out,
              "package hosk-daemon is not installed\nhosk-daemon-3.1.2-1.noarch\n"
              "/run/zelsim/rpm\n")
        << ended.err;
}

TEST(ZelsimHost, ProgramsAreFoundBesideZelsim) {
    EXPECT_EQ(RunShell("command -v zelsim").out, std::string(ZELSIM) + "\n");
    EXPECT_EQ(RunZelsim({"run", "rpm", "-qi", "hosk-daemon"}).status, 0);
    EXPECT_EQ(RunZelsim({"run", "sh", "-c", "ls / >/dev/null"}, {"-u", "PATH"}).status, 0);
}

TEST(ZelsimHost, NetworkIsItsOwnLoopback) {
    const Ended ended = RunShell("ls /proc/sys/net/ipv4/conf; cat /proc/net/dev | grep -c :");
    EXPECT_THAT(ended.out, HasSubstr("lo\n"));
    EXPECT_EQ(RunShell("grep -c eth0 /proc/net/dev").out, "0\n");
    // The kernel has the loopback's addresses in its table only while it is up.
    EXPECT_THAT(RunShell("cat /proc/net/fib_trie").out, HasSubstr("127.0.0.1"));
}

TEST(ZelsimHost, ProcessesOfTheMachineDoNotShow) {
    // This test program is one of them.
    ASSERT_TRUE(ProcessRuns("zelsim_host"));
    const Ended ended =
        RunShell("cat /proc/[0-9]*/cmdline | tr '\\0' ' ' | grep -c 'zelsim_hos[t]'; kill -0 " +
                 std::to_string(getpid()) + " 2>/dev/null; echo $?");
    EXPECT_EQ(ended.out, "0\n1\n");
}

TEST(ZelsimHost, WorkingFolderIsTheSameAndShowsTheHost) {
    EXPECT_EQ(RunShell("pwd").out, std::filesystem::current_path().string() + "\n");
    const auto before = std::filesystem::current_path();
    std::filesystem::current_path("/run");
    const Ended ended = RunShell("ls -d zelsim");
    std::filesystem::current_path(before);
    EXPECT_EQ(ended.out, "zelsim\n") << ended.err;
}

TEST(ZelsimHost, WhatIsWrittenThereStaysThere) {
    const std::string before = Traces();
    const Ended ended =
        RunShell("touch /etc/zelsim-test /run/zelsim-test /usr/share/zelsim-test && echo written");
    EXPECT_EQ(ended.out, "written\n") << ended.err;
    for (const char* path : {"/etc/zelsim-test", "/run/zelsim-test", "/usr/share/zelsim-test"})
        EXPECT_FALSE(std::filesystem::exists(path)) << path;
    EXPECT_EQ(Traces(), before);
}

TEST(ZelsimHost, HostInsideAHostHasItsOwnCards) {
    const TemporaryFile three(Cards(3));
    const Ended ended = RunShell("zelsim mode 0 offline; zelsim run --fleet " + three.Path() +
                                 " -- zelsim status | grep -c normal; zelsim status | grep -c zel; "
                                 "ls /sys/class/zel");
    EXPECT_EQ(ended.out, "3\n2\nzel0\nzel1\n") << ended.err;
}

TEST(ZelsimHost, WithoutRootRightsItSaysSo) {
    // The runner of the tests may have had to be root to come here; nobody certainly is not.
    const Ended ended = RunShell("setpriv --reuid=65534 --clear-groups " + std::string(ZELSIM) +
                                 " run true; echo $?");
    EXPECT_EQ(ended.out, "125\n");
    EXPECT_EQ(ended.err, "zelsim: a simulated host needs root rights\n");
}

TEST(ZelsimHost, MissingAndFailingProgramsAreToldInOneLine) {
    // A host inside a host takes the outer one for the machine.
    const auto runWith = [](const std::string& program, const std::string& standIn) {
        const Ended ended = RunShell(
            "printf '#!/bin/sh\nkill -9 $$\n' > /run/killed; chmod 755 /run/killed;"
            "mount --bind " +
            standIn + " " + program + "; zelsim run true; echo $?");
        EXPECT_EQ(ended.out, "125\n");
        return ended.err;
    };
    EXPECT_EQ(runWith("/usr/bin/rpmdb", "/etc/passwd"),
              "zelsim: cannot start /usr/bin/rpmdb (package rpm): Permission denied\n");
    EXPECT_EQ(runWith("/usr/bin/rpmdb", "/bin/false"),
              "zelsim: /usr/bin/rpmdb: ended with status 1\n");
    EXPECT_EQ(runWith("/usr/bin/rpmdb", "/run/killed"), "zelsim: /usr/bin/rpmdb: Killed\n");
    EXPECT_EQ(
        runWith("/usr/bin/ssh-keygen", "/etc/passwd"),
        "zelsim: cannot start /usr/bin/ssh-keygen (package openssh-client): Permission denied\n");
    EXPECT_EQ(runWith("/usr/bin/ssh-keygen", "/bin/false"),
              "zelsim: /usr/bin/ssh-keygen: ended with status 1\n");
}

TEST(ZelsimHost, RefusedNamespacesAreToldInOneLine) {
    const Ended ended = RunShell("setpriv --bounding-set=-sys_admin --inh-caps=-sys_admin -- " +
                                 std::string(ZELSIM) + " run true; echo $?");
    EXPECT_EQ(ended.out, "125\n");
    EXPECT_EQ(ended.err, "zelsim: cannot make private namespaces: Operation not permitted\n");
}

}  // namespace
