// Cancellation of threads that are in the library. An operation holds it off from its first
// instruction to its last, because it holds locks and memory; only where an operation waits for the
// peer is it let in, as deferred cancellation, whose unwinding then releases everything.
#pragma once

#include <pthread.h>

namespace vorl {

// What the caller of the running operation allows.
inline thread_local int callersCancelState = PTHREAD_CANCEL_DISABLE;

// Runs an operation with cancellation held off. This frame owns nothing: a thread whose cancellation
// is asynchronous may be cancelled before the first call here takes effect, and such a frame is
// unwound at any instruction.
template <typename Result, typename... Parameters, typename... Arguments>
Result WithoutCancellation(Result (*operation)(Parameters...), Arguments... arguments) {
    int state = PTHREAD_CANCEL_DISABLE;
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &state);
    callersCancelState = state;
    const Result result = operation(arguments...);
    pthread_setcancelstate(state, nullptr);
    return result;
}

// Lets in what the caller allows, for as long as it lives.
class CancellationPoint {
public:
    CancellationPoint() {
        pthread_setcanceltype(PTHREAD_CANCEL_DEFERRED, &type_);
        pthread_setcancelstate(callersCancelState, nullptr);
    }
    ~CancellationPoint() {
        pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, nullptr);
        pthread_setcanceltype(type_, nullptr);
    }
    CancellationPoint(const CancellationPoint&) = delete;
    CancellationPoint& operator=(const CancellationPoint&) = delete;

private:
    int type_ = PTHREAD_CANCEL_DEFERRED;
};

}  // namespace vorl
