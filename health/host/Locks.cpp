// Takes and gives up locks, and keeps the list of holders in each lock's file.
#include "host/Locks.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <sstream>
#include <thread>

#include "host/Folders.h"
#include "host/UtcTime.h"

namespace zelhealth {

namespace {

using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

constexpr int kRetryMilliseconds = 50;

// For so long somebody may take to write a few lines. One who is stopped in the middle of it is not
// waited for any longer: the lines are for people, the lock itself is elsewhere.
constexpr int kGuardTries = 100;
constexpr milliseconds kGuardPause{10};

constexpr std::size_t kMostBytes = 1 << 20;

// While this lives, nobody else changes the lines of the file. It is a lock of the other kind than the
// one that is listed, and knows nothing of it.
class Guard {
public:
    Guard(int file, short type) : file_(file) {
        for (int i = 0; i < kGuardTries && !Set(type); ++i)
            std::this_thread::sleep_for(kGuardPause);
    }
    ~Guard() { Set(F_UNLCK); }
    Guard(const Guard&) = delete;
    Guard& operator=(const Guard&) = delete;

private:
    bool Set(short type) const {
        struct flock range {};
        range.l_type = type;
        range.l_whence = SEEK_SET;
        range.l_len = 1;
        return fcntl(file_, F_OFD_SETLK, &range) == 0;
    }

    int file_;
};

std::string KindName(LockKind kind) {
    return kind == LockKind::exclusive ? "exclusive" : "shared";
}

std::string ReadFile(int file) {
    std::string text;
    char piece[4096];
    ssize_t length = 0;
    while (text.size() < kMostBytes &&
           (length = pread(file, piece, sizeof(piece), static_cast<off_t>(text.size()))) > 0)
        text.append(piece, static_cast<std::size_t>(length));
    return text;
}

// Lines that cannot be written are missing: the lock holds all the same.
void ReplaceFile(int file, std::string_view text) {
    if (ftruncate(file, 0) != 0)
        return;
    off_t at = 0;
    while (!text.empty()) {
        const ssize_t length = pwrite(file, text.data(), text.size(), at);
        if (length <= 0)
            return;
        text.remove_prefix(static_cast<std::size_t>(length));
        at += length;
    }
}

std::optional<LockHolder> ReadHolder(const std::string& line) {
    std::istringstream words(line);
    LockHolder holder;
    std::string kind;
    words >> holder.process.pid >> holder.process.startTime >> kind >> holder.since >> std::ws;
    std::getline(words, holder.command);
    if (words.fail() || holder.process.pid <= 0 || (kind != "exclusive" && kind != "shared"))
        return std::nullopt;
    holder.kind = kind == "exclusive" ? LockKind::exclusive : LockKind::shared;
    return holder;
}

// The lines of those who live; what others left is not among them.
std::vector<std::string> LivingLines(int file) {
    std::vector<std::string> lines;
    std::istringstream text(ReadFile(file));
    for (std::string line; std::getline(text, line);) {
        const auto holder = ReadHolder(line);
        if (holder && IsAlive(holder->process))
            lines.push_back(line);
    }
    return lines;
}

std::vector<LockHolder> ReadHolders(int file) {
    const Guard guard(file, F_RDLCK);
    std::vector<LockHolder> holders;
    for (const std::string& line : LivingLines(file))
        holders.push_back(*ReadHolder(line));
    return holders;
}

void WriteLines(int file, const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines)
        text += line + '\n';
    ReplaceFile(file, text);
}

// Whoever has the lock alone is the only holder, whatever stands there.
void AddHolder(int file, const std::string& line, LockKind kind) {
    const Guard guard(file, F_WRLCK);
    std::vector<std::string> lines;
    if (kind == LockKind::shared)
        lines = LivingLines(file);
    lines.push_back(line);
    WriteLines(file, lines);
}

// One line of several that are the same is one of as many locks of this process.
void RemoveHolder(int file, const std::string& line) {
    const Guard guard(file, F_WRLCK);
    std::vector<std::string> lines = LivingLines(file);
    const auto found = std::find(lines.begin(), lines.end(), line);
    if (found != lines.end())
        lines.erase(found);
    WriteLines(file, lines);
}

std::string OwnLine(LockKind kind) {
    const auto self = ReadProcess(getpid());
    return fmt::format("{} {} {} {} {}", getpid(), self ? self->id.startTime : 0, KindName(kind),
                       UtcText(std::chrono::system_clock::now()), self ? self->command : "");
}

std::string CardLock(std::string_view card) {
    return fmt::format("card-{}.lock", card);
}

LockResult Failure(const std::string& path) {
    LockResult result;
    result.error = "cannot lock " + path + ": " + std::strerror(errno);
    return result;
}

}  // namespace

std::string LockHolder::Text() const {
    return fmt::format("pid {} ({}) since {}", process.pid, command, since);
}

std::string LockResult::Why() const {
    if (!error.empty())
        return error;
    if (holders.empty())
        return "held by another process";
    std::string text = "held by ";
    for (const LockHolder& holder : holders)
        text += (&holder == holders.data() ? "" : ", ") + holder.Text();
    return text;
}

Lock& Lock::operator=(Lock&& other) noexcept {
    std::swap(file_, other.file_);
    std::swap(line_, other.line_);
    return *this;
}

Lock::~Lock() {
    if (file_.IsOpen())
        RemoveHolder(file_.Get(), line_);
}

LockResult Locks::Card(std::string_view card, LockKind kind, milliseconds patience,
                       const Stop& stop) const {
    return Take(CardLock(card), kind, patience, stop);
}

LockResult Locks::Resource(std::string_view resource, milliseconds patience,
                           const Stop& stop) const {
    return Take(fmt::format("resource-{}.lock", resource), LockKind::exclusive, patience, stop);
}

std::vector<LockHolder> Locks::CardHolders(std::string_view card) const {
    const std::string path = folder_ / CardLock(card);
    const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW));
    return file.IsOpen() ? ReadHolders(file.Get()) : std::vector<LockHolder>();
}

LockResult Locks::Take(const std::string& name, LockKind kind, milliseconds patience,
                       const Stop& stop) const {
    LockResult result;
    result.error = MakeFolder(folder_);
    if (!result.error.empty())
        return result;
    const std::string path = folder_ / name;
    Descriptor file(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0644));
    if (!file.IsOpen())
        return Failure(path);
    const int operation = (kind == LockKind::exclusive ? LOCK_EX : LOCK_SH) | LOCK_NB;
    const auto end = Clock::now() + patience;
    while (flock(file.Get(), operation) != 0) {
        if (errno != EWOULDBLOCK && errno != EINTR)
            return Failure(path);
        if (Clock::now() >= end || stop.WaitFor(kRetryMilliseconds)) {
            result.holders = ReadHolders(file.Get());
            return result;
        }
    }
    std::string line = OwnLine(kind);
    AddHolder(file.Get(), line, kind);
    result.lock = Lock(std::move(file), std::move(line));
    return result;
}

}  // namespace zelhealth
