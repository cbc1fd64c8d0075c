// Starts and ends a test with stand-ins.
#include "Fixture.h"

namespace fakes {

void ResetAll() {
    ZelAccess().Reset();
    SettingsFake().Reset();
    Trace().Reset();
    Clock().Reset();
    Memory().Reset();
    Vorl().Reset();
    Shell().Reset();
    Threads().Reset();
    ClearLinks();
    TheJournal().Clear();
}

void VerifyAll() {
    ZelAccess().Verify();
    SettingsFake().Verify();
    Memory().Verify();
    Vorl().Verify();
    Shell().Verify();
    Threads().Verify();
}

Fixture::Fixture() {
    ResetAll();
}

Fixture::~Fixture() {
    VerifyAll();
    ResetAll();
}

}  // namespace fakes
