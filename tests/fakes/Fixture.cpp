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
    TheJournal().Clear();
}

void VerifyAll() {
    ZelAccess().Verify();
    SettingsFake().Verify();
    Memory().Verify();
    Vorl().Verify();
    Shell().Verify();
}

Fixture::Fixture() {
    ResetAll();
}

Fixture::~Fixture() {
    VerifyAll();
    ResetAll();
}

}  // namespace fakes
