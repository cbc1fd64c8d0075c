#include "report/Spool.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <stdexcept>

namespace zelhealth {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kInMemory = 256UL * 1024;

fs::path Folder() {
    std::error_code error;
    const fs::path told = fs::temp_directory_path(error);
    return error ? fs::path("/tmp") : told;
}

Descriptor FileWithoutName() {
    Descriptor file(
        open(Folder().c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC | O_EXCL, S_IRUSR | S_IWUSR));
    if (!file.IsOpen()) {
        std::string name = Folder() / "zelhealth.XXXXXX";
        file = Descriptor(mkostemp(name.data(), O_CLOEXEC));
        if (file.IsOpen()) {
            unlink(name.c_str());
        }
    }
    return file;
}

}  // namespace

Spool::Place Spool::Add(std::string_view bytes) {
    const Place place = {spilled_ + waiting_.size(), bytes.size()};
    waiting_ += bytes;
    if (waiting_.size() >= kInMemory) {
        Spill();
    }
    return place;
}

void Spool::Spill() {
    if (!file_.IsOpen() && error_ == 0) {
        file_ = FileWithoutName();
        error_ = file_.IsOpen() ? 0 : errno;
    }
    for (std::string_view rest = waiting_; !rest.empty() && error_ == 0;) {
        const ssize_t bytes = write(file_.Get(), rest.data(), rest.size());
        if (bytes >= 0) {
            rest.remove_prefix(static_cast<std::size_t>(bytes));
        } else if (errno != EINTR) {
            error_ = errno;
        }
    }
    spilled_ += waiting_.size();
    waiting_.clear();
}

std::string Spool::Read(const Place& place) const {
    if (error_ == 0 && place.begin >= spilled_) {
        return waiting_.substr(place.begin - spilled_, place.size);
    }
    int error = error_;
    std::string bytes(place.size, '\0');
    for (std::size_t read = 0; read < bytes.size() && error == 0;) {
        const ssize_t more = pread(file_.Get(), bytes.data() + read, bytes.size() - read,
                                   static_cast<off_t>(place.begin + read));
        read += more > 0 ? static_cast<std::size_t>(more) : 0;
        if (more <= 0 && (more == 0 || errno != EINTR)) {
            error = more == 0 ? EIO : errno;
        }
    }
    if (error != 0) {
        throw std::runtime_error("a temporary file in " + Folder().string() +
                                 " cannot be used: " + std::strerror(error));
    }
    return bytes;
}

}  // namespace zelhealth
