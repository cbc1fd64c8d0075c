// What tests need of a host, with scripts in the place of the tool and of ssh.
#include "host/Preflight.h"

#include <gmock/gmock.h>

#include "Scratch.h"
#include "catalogue/Catalogue.h"
#include "host/SettingsFile.h"

namespace zelhealth {

namespace {

using testing::HasSubstr;
using Kind = PreflightFault::Kind;

constexpr char kSettings[] =
    "; comment\n[pcieConfigReg]\ndeviceID = 0x00501F5A, 0x00401F5A ; both\nrevisionID =\n"
    "[gddr]\nvendor = \"Elmwood\"\n";

class PreflightTest : public testing::Test {
protected:
    PreflightTest() {
        scratch_.Script("bin/ZelDiag", "exit 0");
        scratch_.Write("bin/Settings.ini", kSettings);
        for (const char* program :
             {"vpu_workload", "cache_workload", "vorl_accept_dma_zel", "vorl_connect_dma_zel"})
            scratch_.Script(std::string("bin/") + program + "_er1x", "");
        scratch_.Write("new.elf", "");
        Ssh("exit 0");
        scratch_.Script("scp", "exit 0");
    }

    // What ssh does when it is to log in; it says "known" where it keeps host keys.
    void Ssh(const std::string& text) {
        scratch_.Script("ssh", "echo \"$@\" >> " + (scratch_ / "calls").string() +
                                   "\nif [ \"$1\" = -G ]; then\necho userknownhostsfile none\n"
                                   "echo globalknownhostsfile /k/known /k/other\nexit\nfi\n" +
                                   text);
    }

    PreflightPlaces Places() const {
        return {.tool = scratch_ / "bin/ZelDiag",
                .ssh = scratch_ / "ssh",
                .scp = scratch_ / "scp",
                .currentImage = scratch_ / "new.elf",
                .olderImage = scratch_ / "old.elf"};
    }

    std::optional<PreflightFault> Check(const std::string& need,
                                        const std::string& generation = "er1x",
                                        const std::string& mode = "normal") {
        Preflight preflight(Places());
        return preflight.Check({"zel1", generation, mode}, {need}, stop_);
    }

    void ExpectSetup(const std::string& need, const std::string& text, const std::string& mend) {
        const auto fault = Check(need);
        ASSERT_TRUE(fault) << need;
        EXPECT_EQ(fault->kind, Kind::setup);
        EXPECT_THAT(fault->text, HasSubstr(text));
        EXPECT_THAT(fault->mend, HasSubstr(mend));
        EXPECT_EQ(fault->text.find('\n'), std::string::npos) << fault->text;
    }

    Scratch scratch_;
    Stop stop_;
};

TEST_F(PreflightTest, NothingIsMissing) {
    for (const char* need :
         {"libraries", "settings", "settings:pcieConfigReg.deviceID", "settings:gddr.vendor", "ssh",
          "scp", "card_programs", "card_programs:vpu_workload", "host_key", "memdiag_image"})
        EXPECT_EQ(Check(need), std::nullopt) << need;
}

TEST_F(PreflightTest, KnowsItsWords) {
    EXPECT_TRUE(Preflight::IsNeed("ssh"));
    EXPECT_TRUE(Preflight::IsNeed("settings:gddr.vendor"));
    EXPECT_FALSE(Preflight::IsNeed("ssh:x"));
    EXPECT_FALSE(Preflight::IsNeed("shh"));
    EXPECT_FALSE(Preflight::IsNeed(""));
}

TEST(PreflightWords, AreThoseOfTheCatalogue) {
    for (const TestRow& row : Catalogue::BuiltIn().Tests()) {
        for (const std::string& need : row.needs)
            EXPECT_TRUE(Preflight::IsNeed(need)) << row.Id() << " needs " << need;
    }
}

TEST_F(PreflightTest, AToolThatDoesNotStart) {
    scratch_.Script("bin/ZelDiag",
                    "echo 'ZelDiag: error while loading shared libraries: libvorl.so: cannot open "
                    "shared object file' >&2; exit 127");
    ExpectSetup("libraries", "libvorl.so", "ldconfig");
    scratch_.Script("bin/ZelDiag", "echo 'x: libSettings.so: no' >&2; exit 127");
    ExpectSetup("libraries", "libSettings.so", "zeldiag");
    scratch_.Script("bin/ZelDiag",
                    "echo 'Settings.ini:3: odd' >&2; echo 'Could process settings'; exit 1");
    ExpectSetup("libraries", "Settings.ini:3: odd", "bin/Settings.ini");
    scratch_.Script("bin/ZelDiag", "kill -SEGV $$");
    ExpectSetup("libraries", "does not even show its help", "zeldiag");
    std::filesystem::remove(scratch_ / "bin/ZelDiag");
    ExpectSetup("libraries", "ZelDiag: No such file", "zeldiag");
}

TEST_F(PreflightTest, SettingsWithoutAKey) {
    ExpectSetup("settings:pcieConfigReg.subsystemID",
                "no values for subsystemID in [pcieConfigReg]",
                "\"subsystemID = ...\" below [pcieConfigReg]");
    ExpectSetup("settings:pcieConfigReg.revisionID", "no values for revisionID", "revisionID");
    ExpectSetup("settings:gddr.deviceID", "no values for deviceID in [gddr]", "[gddr]");
    std::filesystem::remove(scratch_ / "bin/Settings.ini");
    ExpectSetup("settings", "cannot be read: No such file", "zeldiag");
}

TEST_F(PreflightTest, ProgramsOfTheHost) {
    std::filesystem::remove(scratch_ / "ssh");
    ExpectSetup("ssh", "ssh cannot be used: No such file", "openssh-client");
    ExpectSetup("host_key", "ssh cannot be used: No such file", "openssh-client");
    std::filesystem::permissions(scratch_ / "scp", std::filesystem::perms(0644));
    ExpectSetup("scp", "scp cannot be used: Permission denied", "openssh-client");
}

TEST_F(PreflightTest, ProgramsOfTheCard) {
    std::filesystem::remove(scratch_ / "bin/vpu_workload_er1x");
    ExpectSetup("card_programs", "vpu_workload_er1x cannot be sent", "zeldiag-card-programs");
    ExpectSetup("card_programs:vpu_workload", "vpu_workload_er1x", "zeldiag-card-programs");
    EXPECT_EQ(Check("card_programs:cache_workload"), std::nullopt);
    EXPECT_THAT(Check("card_programs:cache_workload", "ev1x")->text,
                HasSubstr("cache_workload_ev1x"));
    std::filesystem::permissions(scratch_ / "bin/cache_workload_er1x",
                                 std::filesystem::perms(0644));
    ExpectSetup("card_programs:cache_workload", "Permission denied", "zeldiag-card-programs");
}

TEST_F(PreflightTest, AFolderThatTheShellDoesNotTakeAsItIs) {
    for (const char* name : {"a b", "a&b", "a$b", "a'b"}) {
        std::filesystem::create_directory(scratch_ / name);
        std::filesystem::copy(scratch_ / "bin", scratch_ / name,
                              std::filesystem::copy_options::recursive);
        PreflightPlaces places = Places();
        places.tool = scratch_ / name / "ZelDiag";
        const auto fault =
            Preflight(places).Check({"zel1", "er1x", "normal"}, {"card_programs"}, stop_);
        ASSERT_TRUE(fault) << name;
        EXPECT_THAT(fault->text, HasSubstr("the shell"));
    }
    // What the tool sees of itself is where a link leads.
    std::filesystem::create_symlink(scratch_ / "bin", scratch_ / "a link");
    PreflightPlaces places = Places();
    places.tool = scratch_ / "a link/ZelDiag";
    EXPECT_EQ(Preflight(places).Check({"zel1", "er1x", "normal"}, {"card_programs"}, stop_),
              std::nullopt);
}

TEST_F(PreflightTest, Images) {
    EXPECT_THAT(Check("memdiag_image", "ev1x")->text, HasSubstr("old.elf"));
    std::filesystem::remove(scratch_ / "new.elf");
    ExpectSetup("memdiag_image", "new.elf", "host software");
}

struct LoginCase {
    const char* says;
    Kind kind;
    const char* text;
    const char* mend;
};

class Login : public PreflightTest, public testing::WithParamInterface<LoginCase> {};

TEST_P(Login, IsExplained) {
    const LoginCase& expected = GetParam();
    Ssh(std::string("printf '%s\\r\\n' '") + expected.says + "' >&2; exit 255");
    const auto fault = Check("host_key");
    ASSERT_TRUE(fault);
    EXPECT_EQ(fault->kind, expected.kind);
    EXPECT_EQ(fault->text, expected.text);
    EXPECT_EQ(fault->mend, expected.mend);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, Login,
    testing::Values(
        LoginCase{"Host key verification failed.", Kind::setup,
                  "the host key of zel1 is not known: Host key verification failed.",
                  "ssh-keyscan zel1 >> /k/known"},
        LoginCase{
            "@ WARNING: REMOTE HOST IDENTIFICATION HAS CHANGED! @\nHost key verification failed.",
            Kind::setup,
            "zel1 shows another host key than the one that is known: Host key verification "
            "failed.",
            "ssh-keygen -q -R zel1 -f /k/known && ssh-keyscan zel1 >> /k/known"},
        LoginCase{"root@zel1: Permission denied (publickey,password).", Kind::setup,
                  "a login on zel1 would ask for a password, or is refused: root@zel1: Permission "
                  "denied (publickey,password).",
                  "ssh-copy-id zel1"},
        LoginCase{"ssh: Could not resolve hostname zel1: Name or service not known", Kind::setup,
                  "zel1 has no address on this host: ssh: Could not resolve hostname zel1: Name or "
                  "service not known",
                  "echo ADDRESS zel1 >> /etc/hosts, with the address of the card"},
        LoginCase{"something new", Kind::setup, "ssh cannot log in on zel1: something new",
                  "ssh -v zel1 true, which tells more"},
        LoginCase{"ssh: connect to host zel1 port 22: Connection refused", Kind::card,
                  "zel1 refuses connections: ssh: connect to host zel1 port 22: Connection refused",
                  ""},
        LoginCase{"ssh: connect to host zel1 port 22: Connection timed out", Kind::card,
                  "zel1 does not answer: ssh: connect to host zel1 port 22: Connection timed out",
                  ""},
        LoginCase{"Timeout, server zel1 not responding.", Kind::card,
                  "zel1 does not answer: Timeout, server zel1 not responding.", ""},
        LoginCase{"Connection closed by 127.66.0.1 port 22", Kind::card,
                  "zel1 breaks connections off: Connection closed by 127.66.0.1 port 22", ""}));

TEST_F(PreflightTest, ALoginAsksNothing) {
    ASSERT_EQ(Check("host_key"), std::nullopt);
    EXPECT_THAT(ReadText(scratch_ / "calls"), HasSubstr("-o BatchMode=yes"));
    Ssh("[ -z \"$SSH_ASKPASS\" ] && ! read line || exit 255");
    setenv("SSH_ASKPASS", "/bin/true", 1);
    EXPECT_EQ(Check("host_key"), std::nullopt);
    unsetenv("SSH_ASKPASS");
}

TEST_F(PreflightTest, WhatTheCardsShellMakesOfItIsNotJudged) {
    Ssh("exit 127");
    EXPECT_EQ(Check("host_key"), std::nullopt);
}

TEST_F(PreflightTest, ACardThatIsNotInNormalModeIsNotAskedForALogin) {
    Ssh("exit 255");
    EXPECT_EQ(Check("host_key", "er1x", "offline"), std::nullopt);
}

TEST_F(PreflightTest, ALoginThatWorkedIsNotTriedAgainAndOneThatDidNotIs) {
    Preflight preflight(Places());
    const PreflightCard card{"zel1", "er1x", "normal"};
    Ssh("echo 'Connection refused' >&2; exit 255");
    EXPECT_TRUE(preflight.Check(card, {"host_key"}, stop_));
    Ssh("exit 0");
    EXPECT_EQ(preflight.Check(card, {"host_key"}, stop_), std::nullopt);
    Ssh("exit 255");
    EXPECT_EQ(preflight.Check(card, {"host_key"}, stop_), std::nullopt);
    EXPECT_TRUE(preflight.Check({"zel2", "er1x", "normal"}, {"host_key"}, stop_));
}

TEST_F(PreflightTest, ARunThatIsToEndBlamesNobody) {
    stop_.Request();
    ASSERT_TRUE(Check("host_key"));
    EXPECT_EQ(Check("host_key")->kind, Kind::stopped);
    EXPECT_EQ(Check("libraries")->kind, Kind::stopped);
}

TEST_F(PreflightTest, TellsIdentitiesThatNobodyHasReplaced) {
    EXPECT_TRUE(Preflight(Places()).IdentitiesAreProvisional());
    scratch_.Write("bin/Settings.ini", "[pcieConfigReg]\ndeviceID = 0x12348086\n");
    EXPECT_FALSE(Preflight(Places()).IdentitiesAreProvisional());
    scratch_.Write("bin/Settings.ini", "[pcieConfigReg]\ndeviceID = 5250906, 4202330\n");
    EXPECT_TRUE(Preflight(Places()).IdentitiesAreProvisional());
    std::filesystem::remove(scratch_ / "bin/Settings.ini");
    EXPECT_FALSE(Preflight(Places()).IdentitiesAreProvisional());
}

}  // namespace

}  // namespace zelhealth
