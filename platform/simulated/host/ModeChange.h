// How the simulated host learns that a card has moved to another usage mode: whoever moves it tells,
// and goes on when the host has followed, so that the next command finds the card as it now is.
#pragma once

#include "common/UniqueFd.h"

namespace simulated {

// Tells the host. Does nothing where nobody listens, and waits a few seconds at most.
void TellModeChange();

// The socket on which the host is told: one connection a change, which the host closes when it has
// followed. Not open, with errno, when it cannot be had.
platform::UniqueFd ListenForModeChanges();

}  // namespace simulated
