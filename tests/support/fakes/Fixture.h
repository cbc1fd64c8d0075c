// The base of every test that uses the stand-ins: each test begins with healthy defaults and an empty
// journal, and fails when a script was left over.
#pragma once

#include <gtest/gtest.h>

#include "FakeClock.h"
#include "FakeLinks.h"
#include "FakeMemory.h"
#include "FakeSettings.h"
#include "FakeShell.h"
#include "FakeThreads.h"
#include "FakeTrace.h"
#include "FakeVorl.h"
#include "FakeZelAccess.h"
#include "Journal.h"

namespace fakes {

// Constructor and destructor do the work, so that a test may have a SetUp and a TearDown of its own.
class Fixture : public ::testing::Test {
protected:
    Fixture();
    ~Fixture() override;
};

void ResetAll();
void VerifyAll();

}  // namespace fakes
