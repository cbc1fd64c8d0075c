#include "record/Stream.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>

namespace zelhealth {

namespace {

constexpr mode_t kForAllToRead = 0644;

bool CanBeWritten(int file) {
    const int flags = fcntl(file, F_GETFL);
    return flags >= 0 && (flags & O_ACCMODE) != O_RDONLY;
}

Descriptor Open(const std::string& file) {
    if (file == "-") {
        if (!CanBeWritten(STDOUT_FILENO)) {
            errno = EBADF;
            return Descriptor();
        }
        return Descriptor(fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
    }
    return Descriptor(open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, kForAllToRead));
}

}  // namespace

Stream::Stream(const std::string& file)
    : name_(file == "-" ? "standard output" : file), file_(Open(file)) {
    if (!file_.IsOpen()) {
        throw std::runtime_error(name_ + ": cannot be written: " + std::strerror(errno));
    }
}

void Stream::Fail(int error) {
    error_ = name_ + ": cannot be written: " + std::strerror(error);
    file_.Close();
}

void Stream::Read(const Json& record) {
    // How far a test is, is for who watches it.
    if (!file_.IsOpen() || record["record"] == "test_progress") {
        return;
    }
    const std::string line = Line(record) + "\n";
    for (std::size_t written = 0; written < line.size();) {
        const ssize_t bytes = write(file_.Get(), line.data() + written, line.size() - written);
        if (bytes < 0 && errno != EINTR) {
            Fail(errno);
            return;
        }
        written += bytes < 0 ? 0 : static_cast<std::size_t>(bytes);
    }
}

void Stream::Close() {
    // What is no file cannot be synchronised, and need not be.
    if (file_.IsOpen() && fsync(file_.Get()) != 0 && errno != EINVAL && errno != EROFS) {
        Fail(errno);
    }
    file_.Close();
}

}  // namespace zelhealth
