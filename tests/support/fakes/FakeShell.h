// The host's shell and files as a test wants them.
//
// Commands: from the first Answer, OnCommand or Refuse on, popen() of the test program runs nothing;
// it takes its answers from here, and a command without an answer fails the test. Before that, and in
// a test that uses none of them, a real shell runs the commands. Every scripted command is noted in
// the journal as shell "COMMAND". Scripted answers that were never asked for fail the test.
//
// Files: fopen() for reading, and what is built on it, finds the files that are set here, or misses
// them; it asks the system for all others.
//
// Commands may come from any thread.
#pragma once

#include <cstddef>
#include <cstdio>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace fakes {

// What a command prints and how it ends.
struct ShellAnswer {
    std::string output = {};
    int status = 0;  // the wait status, as pclose gives it

    // The wait status of a command that ends with `code`, or by `signal`.
    static constexpr int Exit(int code) { return code << 8; }
    static constexpr int Signal(int signal) { return signal; }
};

class FakeShell {
public:
    // The next command must be exactly `command`.
    void Answer(const std::string& command, ShellAnswer answer = {});

    // `action` answers the commands that Answer does not wait for. Called in the thread that runs the
    // command, which waits for it.
    void OnCommand(std::function<ShellAnswer(const std::string& command)> action);

    // The next command cannot be started at all.
    void Refuse(const std::string& command);

    // Whether the file at `path` exists, whatever the system says of it. It is empty.
    void SetFile(const std::string& path, bool exists);

    // Every scripted command so far.
    std::vector<std::string> Commands();

    void Reset();
    void Verify();

    // For the functions of the C library that this stands in for. Null from Open: not started.
    bool Scripted();
    FILE* Open(const char* command);
    bool Close(FILE* stream, int* status);  // false: no stream of a scripted command
    enum class File { Unknown, Exists, Missing };
    File Find(const char* path);

private:
    struct Expected {
        std::string command;
        bool starts;
        ShellAnswer answer;
    };

    std::mutex lock_;
    bool scripted_ = false;
    std::deque<Expected> expected_;
    std::function<ShellAnswer(const std::string&)> action_;
    std::vector<std::string> commands_;
    std::map<FILE*, int> open_;  // with the status to come
    std::map<std::string, bool> files_;
};

FakeShell& Shell();

}  // namespace fakes
