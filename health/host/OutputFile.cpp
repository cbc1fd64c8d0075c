#include "host/OutputFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <random>
#include <stdexcept>

#include "host/Folders.h"

namespace zelhealth {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kBlock = 64UL * 1024;
constexpr mode_t kForAllToRead = 0644;
constexpr mode_t kPermissions = 0777;
constexpr const char* kDescriptors = "/proc/self/fd";

bool IsDescriptor(const fs::path& place) {
    std::error_code error;
    return fs::equivalent(place.parent_path(), kDescriptors, error);
}

// Where a link leads, there or not. A descriptor's leads to the file that it is of, which others write, too.
fs::path Followed(fs::path place) {
    constexpr int kMostLinks = 40;
    std::error_code error;
    for (int i = 0; i < kMostLinks && !IsDescriptor(place) && fs::is_symlink(place, error); ++i) {
        place = place.parent_path() / fs::read_symlink(place, error);
    }
    return place;
}

Descriptor Duplicate(const std::string& number) {
    int descriptor = -1;
    std::from_chars(number.data(), number.data() + number.size(), descriptor);
    return Descriptor(fcntl(descriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
}

// Gives a file without a name one beside its place; empty where it cannot.
std::string Link(int file, const fs::path& place) {
    const std::string source = std::string(kDescriptors) + "/" + std::to_string(file);
    std::random_device random;
    for (;;) {
        std::string name = place.string() + "." + std::to_string(random());
        if (linkat(AT_FDCWD, source.c_str(), AT_FDCWD, name.c_str(), AT_SYMLINK_FOLLOW) == 0) {
            return name;
        }
        if (errno != EEXIST) {
            return "";
        }
    }
}

}  // namespace

OutputFile::OutputFile(const std::string& name)
    : name_(name == "-" ? "standard output" : name),
      place_(Followed(name == "-" ? "/dev/stdout" : name)) {
    struct stat before {};
    const bool there = stat(place_.c_str(), &before) == 0;
    if (name == "-") {
        file_ = Duplicate(std::to_string(STDOUT_FILENO));
    } else if (IsDescriptor(place_)) {
        file_ = Duplicate(place_.filename());
    } else if (there && !S_ISREG(before.st_mode)) {
        file_ = Descriptor(open(place_.c_str(), O_WRONLY | O_CLOEXEC));
    } else {
        Make(there ? before.st_mode & kPermissions : kForAllToRead);
    }
    if (!file_.IsOpen()) {
        Throw(errno);
    }
}

void OutputFile::Make(mode_t mode) {
    isPlaced_ = true;
    // It gets its name by way of the list of descriptors.
    if (access(kDescriptors, X_OK) == 0) {
        file_ =
            Descriptor(open(FolderOf(place_).c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, S_IRUSR));
    }
    if (!file_.IsOpen()) {
        std::string beside = place_.string() + ".XXXXXX";
        file_ = Descriptor(mkostemp(beside.data(), O_CLOEXEC));
        beside_ = file_.IsOpen() ? beside : "";
    }
    if (file_.IsOpen() && fchmod(file_.Get(), mode) != 0) {
        error_ = errno;
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

// No link replaces a file, but a name does.
bool OutputFile::Place() {
    if (beside_.empty()) {
        beside_ = Link(file_.Get(), place_);
    }
    return !beside_.empty() && rename(beside_.c_str(), place_.c_str()) == 0;
}

void OutputFile::Commit(Durability durability) {
    Flush();
    if (error_ == 0 && isPlaced_) {
        const bool synchronised = durability == Durability::none || fsync(file_.Get()) == 0;
        error_ = synchronised && Place() ? 0 : errno;
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
