// The operations of the platform libraries, in the place of which these stand.
#include <dlfcn.h>

#include <cerrno>

#include "Calls.h"
#include "Inject.h"
#include "Settings.h"

// In a program without the settings library there is no such object.
// NOLINTNEXTLINE(readability-redundant-declaration): the interface's is not weak
extern __attribute__((weak)) Settings* settings;

namespace {

// The library's own operation of this name.
template <typename Function>
Function* Real(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

constexpr U32 kStatus = 13;

U32 FailedAccess() {
    return kStatus;
}

int FailedVorl() {
    errno = ENOTCONN;
    return -1;
}

template <CallFault fault, FailedCall failed, typename Result, typename Failure, typename Call>
Result Swept(const char* name, Failure failure, Call call) {
    const auto within = [&] {
        const sweep::InCall running(name);
        return call();
    };
    if constexpr (fault == CallFault::Never) {
        return within();
    } else if constexpr (failed == FailedCall::Closed) {
        const Result result = within();
        return sweep::Fails(sweep::Kind::Call, name) ? failure() : result;
    } else {
        return sweep::Fails(sweep::Kind::Call, name) ? failure() : within();
    }
}

// Passes everything on to the library's object.
class FailingSettings final : public Settings {
public:
    explicit FailingSettings(Settings* real) : real_(real) {}

    int Load(const char* directory) override {
        return sweep::Fails(sweep::Kind::Call, "Settings::Load") ? 1 : real_->Load(directory);
    }
    int GetWords(const char* section, const char* key, int* count, U32* values) override {
        return sweep::Fails(sweep::Kind::Call, "Settings::GetWords")
                   ? 1
                   : real_->GetWords(section, key, count, values);
    }
    int GetStrings(const char* section, const char* key, int* count, const char** texts) override {
        return sweep::Fails(sweep::Kind::Call, "Settings::GetStrings")
                   ? 1
                   : real_->GetStrings(section, key, count, texts);
    }

private:
    Settings* const real_;
};

__attribute__((constructor)) void StandInForSettings() {
    if (sweep::Run() == nullptr)
        return;
    static FailingSettings standIn(settings);
    settings = &standIn;
}

}  // namespace

#define SWEPT(failure, fault, failed, result, name, parameters, arguments) \
    result name parameters {                                               \
        static const auto real = Real<result parameters>(#name);           \
        return Swept<CallFault::fault, FailedCall::failed, result>(        \
            #name, &(failure), [&] { return real arguments; });            \
    }
#define ACCESS_CALL(fault, failed, result, name, parameters, arguments, told) \
    SWEPT(FailedAccess, fault, failed, result, name, parameters, arguments)
#define VORL_CALL(fault, failed, result, name, parameters, arguments, told) \
    SWEPT(FailedVorl, fault, failed, result, name, parameters, arguments)

extern "C" {
#include "Calls.def"
}
