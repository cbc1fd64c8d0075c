// Whether calls of libvorl fail: what the host's state says, and when it cannot be had.
#include "vorl/Fault.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

#include "PrivateRun.h"

namespace vorl {
namespace {

class InjectedFault : public testing::Test {
protected:
    void SetUp() override {
        simulated::EnterPrivateRun();
        std::filesystem::remove_all("/run/zelsim");
    }

    static void MakeHost() {
        simulated::Card card = simulated::DefaultCard(simulated::Generation::Er1x);
        card.faults = {{.call = "vorl_send", .status = 98, .count = 0}};
        simulated::MakeHost({.faults = {}, .cards = {card}});
    }

    // The errno value of a call in a process of its own, which finds the host anew; 0 when it passes.
    static int ErrorOf(const char* call, uid_t user = 0) {
        const pid_t child = fork();
        if (child < 0)
            throw std::system_error(errno, std::generic_category(), "fork");
        if (child == 0) {
            int error = 0;
            if (setuid(user) != 0)
                _exit(255);
            _exit(InjectFault(call, &error) ? error : 0);
        }
        int status = 0;
        waitpid(child, &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
};

constexpr uid_t kNobody = 65534;

TEST_F(InjectedFault, IsThatOfTheFleet) {
    MakeHost();
    EXPECT_EQ(ErrorOf("vorl_send"), 98);
    EXPECT_EQ(ErrorOf("vorl_recv"), 0);
}

TEST_F(InjectedFault, IsNoneWhereThereIsNoHost) {
    EXPECT_EQ(ErrorOf("vorl_send"), 0);
    EXPECT_EQ(ErrorOf("vorl_send", kNobody), 0);
}

TEST_F(InjectedFault, IsEveryCallOfAUserWhoMayNotCountThem) {
    MakeHost();
    EXPECT_EQ(ErrorOf("vorl_recv", kNobody), EACCES);
}

TEST_F(InjectedFault, IsEveryCallWhereTheStateIsDamaged) {
    MakeHost();
    std::filesystem::resize_file(simulated::kStateFile, 100);
    EXPECT_EQ(ErrorOf("vorl_recv"), EIO);
}

}  // namespace
}  // namespace vorl
