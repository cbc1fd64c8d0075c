#include "report/OutputFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <stdexcept>

namespace zelhealth {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kBlock = 64UL * 1024;
constexpr mode_t kForAllToRead = 0644;
constexpr mode_t kPermissions = 0777;

// Where a link leads, there or not, so that it stays one.
std::string Followed(fs::path place) {
    constexpr int kMostLinks = 40;
    std::error_code error;
    for (int i = 0; i < kMostLinks && fs::is_symlink(place, error); ++i) {
        place = place.parent_path() / fs::read_symlink(place, error);
    }
    return place.string();
}

}  // namespace

OutputFile::OutputFile(const std::string& name)
    : name_(name == "-" ? "standard output" : name), place_(name == "-" ? name : Followed(name)) {
    struct stat before {};
    const bool there = name != "-" && stat(place_.c_str(), &before) == 0;
    if (name == "-") {
        file_ = Descriptor(fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
    } else if (there && !S_ISREG(before.st_mode)) {
        file_ = Descriptor(open(place_.c_str(), O_WRONLY | O_CLOEXEC));
    } else {
        beside_ = place_ + ".XXXXXX";
        file_ = Descriptor(mkostemp(beside_.data(), O_CLOEXEC));
        const mode_t mode = there ? before.st_mode & kPermissions : kForAllToRead;
        if (file_.IsOpen() && fchmod(file_.Get(), mode) != 0) {
            error_ = errno;
        }
    }
    if (!file_.IsOpen()) {
        Throw(errno);
    }
}

OutputFile::~OutputFile() {
    if (file_.IsOpen() && !beside_.empty()) {
        unlink(beside_.c_str());
    }
}

void OutputFile::Write(std::string_view text) {
    waiting_ += text;
    if (waiting_.size() >= kBlock) {
        Flush();
    }
}

void OutputFile::Flush() {
    for (std::string_view rest = waiting_; !rest.empty() && error_ == 0;) {
        const ssize_t bytes = write(file_.Get(), rest.data(), rest.size());
        if (bytes >= 0) {
            rest.remove_prefix(static_cast<std::size_t>(bytes));
        } else if (errno != EINTR) {
            error_ = errno;
        }
    }
    waiting_.clear();
}

void OutputFile::Commit() {
    Flush();
    if (error_ == 0 && !beside_.empty() &&
        (fsync(file_.Get()) != 0 || rename(beside_.c_str(), place_.c_str()) != 0)) {
        error_ = errno;
    }
    if (error_ != 0) {
        Throw(error_);
    }
    file_.Close();
}

void OutputFile::Throw(int error) const {
    throw std::runtime_error(name_ + ": cannot be written: " + std::strerror(error));
}

}  // namespace zelhealth
