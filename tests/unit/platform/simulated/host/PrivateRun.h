// A /run of the test program's own: a memory file system in a mount namespace that ends with it. There the
// simulated libraries find the state that a test makes.
#pragma once

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "host/HostState.h"

namespace simulated {

inline void EnterPrivateRun() {
    static const bool entered = [] {
        return unshare(CLONE_NEWNS) == 0 &&
               mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
               mount("none", "/run", "tmpfs", 0, nullptr) == 0;
    }();
    ASSERT_TRUE(entered) << "needs root rights and mount namespaces: " << std::strerror(errno);
}

inline void MakeHost(const Fleet& fleet) {
    std::filesystem::create_directories("/run/zelsim");
    HostState::Create(kStateFile, fleet);
}

}  // namespace simulated
