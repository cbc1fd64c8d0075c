// Starts the built zelsim and keeps what it wrote.
#pragma once

#include <sys/types.h>

#include <array>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "PseudoTerminal.h"

struct Ended {
    int status = -1;  // exit status, or 128 and the signal
    std::string out;
    std::string err;
};

// A zelsim that runs; killed and waited for when the object goes.
class Zelsim {
public:
    // What its standard output and its standard error are, each for itself.
    enum class Streams { pipe, terminal };

    // `environment` is what env takes in front of a command.
    explicit Zelsim(const std::vector<std::string>& arguments,
                    const std::vector<std::string>& environment = {},
                    Streams streams = Streams::pipe);
    ~Zelsim();
    Zelsim(const Zelsim&) = delete;
    Zelsim& operator=(const Zelsim&) = delete;

    pid_t Pid() const { return pid_; }
    void Send(int signal) const;

    // Waits until it has written a line to standard output that contains `text`.
    void AwaitOutput(const std::string& text);

    Ended Wait();

private:
    pid_t pid_ = -1;
    std::array<std::unique_ptr<PseudoTerminal>, 2> terminals_;
    int out_ = -1;
    int err_ = -1;
    std::string seen_;
};

inline Ended RunZelsim(const std::vector<std::string>& arguments,
                       const std::vector<std::string>& environment = {}) {
    return Zelsim(arguments, environment).Wait();
}

// Runs a shell command on a host of its own.
inline Ended RunShell(const std::string& command, const std::string& fleet = "") {
    std::vector<std::string> arguments = {"run"};
    if (!fleet.empty())
        arguments.insert(arguments.end(), {"--fleet", fleet});
    arguments.insert(arguments.end(), {"--", "/bin/sh", "-c", command});
    return RunZelsim(arguments);
}

// A file that goes with the object.
class TemporaryFile {
public:
    explicit TemporaryFile(const std::string& text);
    ~TemporaryFile();
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    const std::string& Path() const { return path_; }

private:
    std::string path_;
};

// Whether a process whose command line contains `text` is alive, on whatever host.
bool ProcessRuns(const std::string& text);

// The same, once it has become false or five seconds have passed.
bool ProcessStays(const std::string& text);

// What a simulated host could leave behind on this machine, as one text to compare.
std::string Traces();
