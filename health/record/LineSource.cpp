#include "record/LineSource.h"

#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

namespace zelhealth {

namespace {

constexpr std::size_t kBlock = 64UL * 1024;

}  // namespace

LineSource::LineSource(Descriptor file, const Stop* stop)
    : file_(std::move(file)), stop_(stop), buffer_(2 * kBlock + kPadding) {}

std::optional<LineSource::Line> LineSource::Next() {
    std::size_t searched = 0;
    bool tooLong = false;
    for (;;) {
        char* const line = buffer_.data() + begin_;
        const std::size_t size = end_ - begin_;
        const void* const found = std::memchr(line + searched, '\n', size - searched);
        if (found != nullptr) {
            const auto length = static_cast<std::size_t>(static_cast<const char*>(found) - line);
            begin_ += length + 1;
            tooLong = tooLong || length > kLongestLine;
            return Line{{line, tooLong ? 0 : length}, true, tooLong};
        }
        searched = size;
        if (size > kLongestLine) {
            tooLong = true;
            begin_ = end_ = searched = 0;
        }
        if (!Fill()) {
            const std::string_view rest(buffer_.data() + begin_, end_ - begin_);
            begin_ = end_;
            if (error_ != 0 || (rest.empty() && !tooLong)) {
                return std::nullopt;
            }
            return Line{tooLong ? std::string_view() : rest, false, tooLong};
        }
    }
}

// Reads more behind what is there; false at the end.
bool LineSource::Fill() {
    if (begin_ > 0 && end_ + kBlock + kPadding > buffer_.size()) {
        std::memmove(buffer_.data(), buffer_.data() + begin_, end_ - begin_);
        end_ -= begin_;
        begin_ = 0;
    }
    if (end_ + kBlock + kPadding > buffer_.size()) {
        buffer_.resize(buffer_.size() * 2);
    }
    while (file_.IsOpen() && Wait()) {
        const ssize_t bytes = read(file_.Get(), buffer_.data() + end_, kBlock);
        if (bytes > 0) {
            end_ += static_cast<std::size_t>(bytes);
            return true;
        }
        if (bytes == 0) {
            return false;
        }
        if (errno != EINTR && errno != EAGAIN) {
            error_ = errno;
            return false;
        }
    }
    return false;
}

// Until something can be read; false when that is not wanted any more.
bool LineSource::Wait() {
    pollfd events[] = {{file_.Get(), POLLIN, 0},
                       {stop_ == nullptr ? -1 : stop_->Event(), POLLIN, 0}};
    while (poll(events, 2, -1) < 0 && errno == EINTR) {
    }
    error_ = events[1].revents != 0 ? ECANCELED : 0;
    return error_ == 0;
}

}  // namespace zelhealth
