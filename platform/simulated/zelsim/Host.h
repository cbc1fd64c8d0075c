// Makes a simulated host around this process: private mount, network and process namespaces in which
// the cards of a fleet exist, and which vanish with the last process in them.
#pragma once

#include <stdexcept>
#include <string>

#include "fleet/Fleet.h"

namespace simulated {

// What cannot be had, in one line.
class HostError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Moves this process into network and process namespaces of its own; its next child becomes the first
// process of the host. Throws
// HostError, without root rights above all.
void EnterNamespaces();

// Prepares the host in the namespaces' first process: file systems, network, cards. `programFolder`
// holds the tool and its companions. Throws HostError.
void BuildHost(const Fleet& fleet, const std::string& programFolder);

}  // namespace simulated
