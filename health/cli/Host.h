// What the commands share that deal with cards outside of tests.
#pragma once

#include <string>

#include "host/CardAccess.h"
#include "host/Folders.h"
#include "run/Child.h"
#include "run/Stop.h"

namespace zelhealth {

// The exit statuses of monitoring plugins. What each means is said in the manual.
enum ExitStatus : int { kGood = 0, kWarning = 1, kCritical = 2, kUnknown = 3 };

// The one of two that counts: critical before unknown, unknown before warning.
ExitStatus Worse(ExitStatus a, ExitStatus b);

// The status that a card's refusal or silence has, and that of this host's faults.
ExitStatus StatusOf(CardReply::Kind kind);

// The status of a command that has ended with this one: an answer that nobody can read is none.
ExitStatus WithOutput(ExitStatus status);

// True for root; else it says so in one line on standard error.
bool HasRootRights();

// One line on standard error.
void Complain(const std::string& text);

// The cards of this host, through the zelcard beside this program.
ZelCard HostCards();

// The wish to end of whoever sits at the terminal, or of the system. The first interrupt or SIGTERM
// makes it; the second makes the stronger one behind it. Valid for the life of the process.
const Stop& Interrupted();

}  // namespace zelhealth
