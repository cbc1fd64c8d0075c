// What the commands share that deal with cards outside of tests.
#include "cli/Host.h"

#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>

#include "host/Print.h"
#include "host/Printable.h"

namespace zelhealth {

namespace {

struct Wishes {
    Stop stronger;
    Stop stop{&stronger};
};

Wishes* wishes = nullptr;

void OnSignal(int) {
    if (wishes->stop.Requested())
        wishes->stronger.Request();
    else
        wishes->stop.Request();
}

}  // namespace

ExitStatus Worse(ExitStatus a, ExitStatus b) {
    if (a == kCritical || b == kCritical)
        return kCritical;
    return std::max(a, b);
}

ExitStatus StatusOf(CardReply::Kind kind) {
    switch (kind) {
        case CardReply::Kind::answered:
            return kGood;
        case CardReply::Kind::noSuchCard:
        case CardReply::Kind::setup:
        case CardReply::Kind::stopped:
            return kUnknown;
        default:
            return kCritical;
    }
}

void Complain(const std::string& text) {
    Print(stderr, "zelhealth: " + Printable(text) + "\n");
}

ExitStatus WithOutput(ExitStatus status) {
    if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0)
        return status;
    Complain("standard output cannot be written");
    return Worse(status, kUnknown);
}

bool HasRootRights() {
    if (geteuid() == 0)
        return true;
    Complain("access to cards needs root rights");
    return false;
}

ZelCard HostCards() {
    return {ProgramFolder() + "/zelcard", kCardAnswerSeconds};
}

const Stop& Interrupted() {
    if (wishes == nullptr) {
        static Wishes ofThisProcess;
        wishes = &ofThisProcess;
        struct sigaction action {};
        action.sa_handler = OnSignal;
        action.sa_flags = SA_RESTART;
        sigemptyset(&action.sa_mask);
        for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
            struct sigaction before {};
            sigaction(signal, nullptr, &before);
            // nohup's wish.
            if (signal != SIGHUP || before.sa_handler != SIG_IGN)
                sigaction(signal, &action, nullptr);
        }
    }
    return wishes->stop;
}

}  // namespace zelhealth
