// The base of every test that reaches the tool's process-wide state, with stand-ins for its platform:
// each begins and leaves as in a fresh process.
#pragma once

#include "Fixture.h"
#include "ToolState.h"

class ToolFixture : public fakes::Fixture {
protected:
    ToolFixture() { ResetToolState(); }
    ~ToolFixture() override { ResetToolState(); }
};
