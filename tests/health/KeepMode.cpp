// keep-mode BIN_FOLDER CARD: takes a card to ready state as a run of zelhealth does, and keeps it there until it is
// killed, or until its standard input ends: then it takes the card back.
//
// Prints "entered" when the card is there, and what became of it at the end.
#include <unistd.h>

#include <cstdio>
#include <exception>
#include <string>

#include "host/ModeKeeper.h"

using namespace zelhealth;

namespace {

int Keep(const std::string& bin, const std::string& card) {
    const Folders folders = Folders::FromEnvironment();
    const ZelCard access(bin + "/zelcard", kCardAnswerSeconds);
    const ModeKeeper keeper(access, folders);
    const Stop stop;
    const LockResult lock =
        Locks(folders.run).Card(card, LockKind::exclusive, std::chrono::seconds(0), stop);
    if (!lock.lock)
        return 1;
    const EnterResult entered = keeper.Enter(card, "offline", stop);
    std::printf("%s%s\n", entered.entered ? "entered" : "not entered: ", entered.error.c_str());
    std::fflush(stdout);
    char byte = 0;
    while (read(STDIN_FILENO, &byte, 1) > 0) {
    }
    if (entered.entered)
        std::printf("%s\n", keeper.Leave(card, stop).text.c_str());
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3)
        return 3;
    try {
        return Keep(argv[1], argv[2]);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "keep-mode: %s\n", error.what());
        return 3;
    }
}
