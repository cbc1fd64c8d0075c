// Runs one command line of the host's shell and keeps what it printed and how it ended.
#include "CommonTool/ShellExecuter.h"

#include <unistd.h>

#include <array>
#include <iostream>

#include "CommonException.h"

namespace {
constexpr std::size_t kReadBytes = 2048;
constexpr std::size_t kLinkBytes = 8192;
}  // namespace

std::string ShellExecuter::s_AppAccessPath;

ShellExecuter::ShellExecuter(const std::string& command) : _command(command) {}

ShellExecuter::~ShellExecuter() {
    if (_fdCommand == nullptr)
        return;
    pclose(_fdCommand);
    _fdCommand = nullptr;
    std::cout << "ShellExecuter was not closed" << std::endl;
}

void ShellExecuter::Execute() {
    _Open();
    _Read();
    _Close();
}

std::string ShellExecuter::GetOutput() {
    _CleanOutput();
    return _output;
}

void ShellExecuter::_Open() {
    if (_fdCommand != nullptr)
        throw CommonException("File descriptor not null");
    _fdCommand = popen(_command.c_str(), "r");
    if (_fdCommand == nullptr)
        throw CommonException("Could not open file descriptor to " + _command);
}

void ShellExecuter::_Read() {
    if (_fdCommand == nullptr)
        throw CommonException("File descriptor should not be null");
    std::array<char, kReadBytes> piece{};
    // Counted reads, not lines: a command may print any bytes, NUL among them.
    while (const std::size_t length = std::fread(piece.data(), 1, piece.size(), _fdCommand))
        _output.append(piece.data(), length);
}

void ShellExecuter::_Close() {
    if (_fdCommand == nullptr)
        throw CommonException("File descriptor already closed");
    _returnCode = pclose(_fdCommand);
    _fdCommand = nullptr;
}

void ShellExecuter::_CleanOutput() {
    // npos + 1 is 0: output without any other character becomes empty.
    _output.erase(_output.find_last_not_of(" \n\r\t") + 1);
}

void ShellExecuter::SetAppDirAccessPath() {
    std::array<char, kLinkBytes> link{};
    const ssize_t length = readlink("/proc/self/exe", link.data(), link.size());
    if (length < 0)
        throw CommonException("Could not read /proc/self/exe");
    const std::string path(link.data(), static_cast<std::size_t>(length));
    s_AppAccessPath = path.substr(0, path.rfind('/') + 1);
}
