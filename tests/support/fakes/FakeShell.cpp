// Replaces popen, pclose and fopen at link time: definitions in the program come before those of libc.
#include "FakeShell.h"

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <optional>

#include "Journal.h"

namespace fakes {

namespace {

// A stream that reads `text`, any bytes and any length of it.
FILE* StreamOf(const std::string& text) {
    const int file = memfd_create("command output", MFD_CLOEXEC);
    if (file < 0)
        return nullptr;
    for (std::size_t done = 0; done < text.size();) {
        const ssize_t written = write(file, text.data() + done, text.size() - done);
        if (written < 0) {
            close(file);
            return nullptr;
        }
        done += static_cast<std::size_t>(written);
    }
    lseek(file, 0, SEEK_SET);
    return fdopen(file, "r");
}

}  // namespace

FakeShell& Shell() {
    static FakeShell* const shell = new FakeShell;  // outlives every static object of the program
    return *shell;
}

void FakeShell::Answer(const std::string& command, ShellAnswer answer) {
    const std::lock_guard lock(lock_);
    scripted_ = true;
    expected_.push_back({command, true, std::move(answer)});
}

void FakeShell::OnCommand(std::function<ShellAnswer(const std::string&)> action) {
    const std::lock_guard lock(lock_);
    scripted_ = true;
    action_ = std::move(action);
}

void FakeShell::Refuse(const std::string& command) {
    const std::lock_guard lock(lock_);
    scripted_ = true;
    expected_.push_back({command, false, {}});
}

void FakeShell::SetFile(const std::string& path, bool exists) {
    const std::lock_guard lock(lock_);
    files_[path] = exists;
}

std::vector<std::string> FakeShell::Commands() {
    const std::lock_guard lock(lock_);
    return commands_;
}

void FakeShell::Reset() {
    const std::lock_guard lock(lock_);
    scripted_ = false;
    expected_.clear();
    action_ = nullptr;
    commands_.clear();
    for (const auto& [stream, status] : open_)
        std::fclose(stream);
    open_.clear();
    files_.clear();
}

void FakeShell::Verify() {
    const std::lock_guard lock(lock_);
    for (const Expected& expected : expected_)
        ADD_FAILURE() << "command never run: " << Quote(expected.command);
    if (!open_.empty())
        ADD_FAILURE() << open_.size() << " commands were never closed";
}

bool FakeShell::Scripted() {
    const std::lock_guard lock(lock_);
    return scripted_;
}

FILE* FakeShell::Open(const char* command) {
    TheJournal().Add("shell " + Quote(command));
    std::optional<Expected> expected;
    std::function<ShellAnswer(const std::string&)> action;
    {
        const std::lock_guard lock(lock_);
        commands_.emplace_back(command);
        if (!expected_.empty() && (expected_.front().command == command || !action_)) {
            expected = std::move(expected_.front());
            expected_.pop_front();
        }
        action = action_;
    }
    ShellAnswer answer;
    if (expected) {
        EXPECT_EQ(expected->command, command) << "another command was expected";
        if (!expected->starts) {
            errno = EMFILE;
            return nullptr;
        }
        answer = std::move(expected->answer);
    } else if (action) {
        answer = action(command);
    } else {
        ADD_FAILURE() << "unexpected command: " << Quote(command);
        answer.status = ShellAnswer::Exit(127);
    }
    FILE* const stream = StreamOf(answer.output);
    if (stream != nullptr) {
        const std::lock_guard lock(lock_);
        open_[stream] = answer.status;
    }
    return stream;
}

bool FakeShell::Close(FILE* stream, int* status) {
    {
        const std::lock_guard lock(lock_);
        const auto found = open_.find(stream);
        if (found == open_.end())
            return false;
        *status = found->second;
        open_.erase(found);
    }
    std::fclose(stream);
    return true;
}

FakeShell::File FakeShell::Find(const char* path) {
    const std::lock_guard lock(lock_);
    const auto file = files_.find(path);
    if (file == files_.end())
        return File::Unknown;
    return file->second ? File::Exists : File::Missing;
}

namespace {

// The C library's own function of this name.
template <typename Function>
Function* Real(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

FILE* OpenFile(const char* function, const char* path, const char* mode) {
    static constexpr char kEmptyFile[] = "/dev/null";
    const FakeShell::File file = mode[0] == 'r' ? Shell().Find(path) : FakeShell::File::Unknown;
    if (file == FakeShell::File::Missing) {
        errno = ENOENT;
        return nullptr;
    }
    return Real<FILE*(const char*, const char*)>(function)(
        file == FakeShell::File::Exists ? kEmptyFile : path, mode);
}

}  // namespace

}  // namespace fakes

// libc declares its parameters with reserved names.
// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name)
extern "C" {

FILE* popen(const char* command, const char* mode) {
    if (fakes::Shell().Scripted())
        return fakes::Shell().Open(command);
    return fakes::Real<FILE*(const char*, const char*)>("popen")(command, mode);
}

int pclose(FILE* stream) {
    int status = 0;
    if (fakes::Shell().Close(stream, &status))
        return status;
    return fakes::Real<int(FILE*)>("pclose")(stream);
}

FILE* fopen(const char* path, const char* mode) {
    return fakes::OpenFile("fopen", path, mode);
}

FILE* fopen64(const char* path, const char* mode) {
    return fakes::OpenFile("fopen64", path, mode);
}

}  // extern "C"
// NOLINTEND(readability-inconsistent-declaration-parameter-name)
