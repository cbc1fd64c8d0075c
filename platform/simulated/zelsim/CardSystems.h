// The cards' own operating systems, as far as a program that runs there can tell: each card has a root
// folder, which is a small file system of its own, with a shell in it.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "fleet/Fleet.h"

namespace simulated {

// The folder on the host that the card sees as its root.
std::string CardRoot(std::size_t card);

// Makes every card's root folder. Throws HostError.
void MakeCardRoots(const std::vector<Card>& cards);

// Puts the shell and the devices into a card's root folder: needed once, before anything runs there.
// Throws HostError.
void StartCardSystem(std::size_t card);

}  // namespace simulated
