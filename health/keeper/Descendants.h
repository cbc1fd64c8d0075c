// Which processes descend from this one. A process that is a sub-reaper inherits what others leave, so
// that none of them can get out of sight.
#pragma once

#include <sys/types.h>

#include <functional>
#include <vector>

namespace zelhealth::keeper {

// All living descendants of the calling process, ended ones that wait to be reaped left out.
std::vector<pid_t> Descendants();

// A child of this process has ended with a wait status.
using Reaped = std::function<void(pid_t child, int status)>;

// Reaps children that have ended. True when there are no children left at all.
bool ReapChildren(const Reaped& reaped);

// Kills all descendants, again and again, for none to be started meanwhile, and reaps them; for
// `seconds` at most. What is left then has been killed and cannot end, such as a call of a driver that
// does not return; false.
bool KillDescendants(int seconds, const Reaped& reaped);

}  // namespace zelhealth::keeper
