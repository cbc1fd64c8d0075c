// Prints trace records. Nothing here can fail the program: a record that cannot be written is lost,
// and one that finds no memory is cut at the size of the buffer on the stack.
#include "TraceLog.h"

#include <poll.h>
#include <pthread.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>

namespace {

constexpr std::size_t kStackBytes = 1024;

class KeepErrno {
public:
    KeepErrno() : saved_(errno) {}
    KeepErrno(const KeepErrno&) = delete;
    KeepErrno& operator=(const KeepErrno&) = delete;
    ~KeepErrno() { errno = saved_; }

private:
    int saved_;
};

// Writing is a cancellation point; a thread that ended there would leave half a record and a lock.
class NoCancellation {
public:
    NoCancellation() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &saved_); }
    NoCancellation(const NoCancellation&) = delete;
    NoCancellation& operator=(const NoCancellation&) = delete;
    // In a thread with asynchronous cancellation, a pending one takes effect here.
    ~NoCancellation() noexcept(false) { pthread_setcancelstate(saved_, nullptr); }

private:
    int saved_ = PTHREAD_CANCEL_ENABLE;
};

// The formatted text of one record.
class RecordText {
public:
    RecordText(const char* format, va_list arguments) __attribute__((format(printf, 2, 0)));

    const char* CStr() const { return heap_ ? heap_.get() : stack_.data(); }
    std::string_view View() const { return {CStr(), size_}; }

private:
    std::array<char, kStackBytes> stack_;
    std::unique_ptr<char[]> heap_;
    std::size_t size_ = 0;
};

RecordText::RecordText(const char* format, va_list arguments) {
    va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(stack_.data(), stack_.size(), format, arguments);
    if (length <
        0) {  // an argument that cannot be converted: the format itself still says something
        size_ = strnlen(format, stack_.size() - 1);
        std::memcpy(stack_.data(), format, size_);
        stack_[size_] = '\0';
    } else if (static_cast<std::size_t>(length) < stack_.size()) {
        size_ = static_cast<std::size_t>(length);
    } else {
        size_ = stack_.size() - 1;
        const auto needed = static_cast<std::size_t>(length) + 1;
        heap_.reset(new (std::nothrow) char[needed]);
        if (heap_) {
            std::vsnprintf(heap_.get(), needed, format, again);
            size_ = needed - 1;
        }
    }
    va_end(again);
}

// Waits until standard error takes more; false when it never will.
bool WaitForRoom() {
    pollfd room = {STDERR_FILENO, POLLOUT, 0};
    return poll(&room, 1, -1) >= 0 || errno == EINTR;
}

}  // namespace

// One write for the whole record; a second one follows only where the first was cut short, and the
// lock keeps other records out of the gap.
void TraceLog::WriteToError(std::string_view text) {
    const std::lock_guard lock(errorLock_);
    while (!text.empty()) {
        const ssize_t written = write(STDERR_FILENO, text.data(), text.size());
        if (written > 0) {
            text.remove_prefix(static_cast<std::size_t>(written));
            continue;
        }
        const bool again = written < 0 && (errno == EINTR || (errno == EAGAIN && WaitForRoom()));
        if (!again) {
            return;
        }
    }
}

void TraceLog::Print(PlyxDebugInfo& /*site*/, DebugLevel level, const char* format, ...) {
    const auto callback = callback_.load();
    if (format == nullptr || (callback == nullptr && !GoesToOutput(level) && !GoesToError(level))) {
        return;
    }
    const KeepErrno keepErrno;
    const NoCancellation noCancellation;

    va_list arguments;
    va_start(arguments, format);
    const RecordText text(format, arguments);
    va_end(arguments);

    if (callback != nullptr) {
        callback("%s", text.CStr());
    }
    if (GoesToOutput(level)) {
        std::fwrite(text.View().data(), 1, text.View().size(), stdout);
    } else if (GoesToError(level)) {
        WriteToError(text.View());
    }
}
