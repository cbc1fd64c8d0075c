#include "history/HistoryFile.h"

#include <fcntl.h>
#include <fmt/chrono.h>
#include <fmt/format.h>
#include <sqlite3.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <stdexcept>
#include <thread>

#include "history/Schema.h"
#include "host/Folders.h"
#include "run/Descriptor.h"

namespace zelhealth {

namespace fs = std::filesystem;

namespace {

using std::chrono::milliseconds;

// Others hold the file for a test's row, or for a few of the oldest runs.
constexpr milliseconds kPatience{5000};

std::runtime_error Failure(const fs::path& file, const char* what) {
    return std::runtime_error(file.string() + ": " + what + ": " + std::strerror(errno));
}

ino_t InodeOf(const fs::path& file) {
    struct stat found {};
    return stat(file.c_str(), &found) == 0 ? found.st_ino : 0;
}

// One at a time makes the file, or gives it another name; held until the descriptor is closed.
Descriptor LockBeside(const fs::path& file) {
    constexpr mode_t kForOwner = 0600;
    constexpr milliseconds kPause{10};
    const fs::path name = file.string() + "-lock";
    Descriptor lock(open(name.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, kForOwner));
    if (!lock.IsOpen()) {
        throw Failure(name, "cannot be made");
    }
    const auto end = std::chrono::steady_clock::now() + kPatience;
    while (flock(lock.Get(), LOCK_EX | LOCK_NB) != 0) {
        if (errno != EWOULDBLOCK || std::chrono::steady_clock::now() > end) {
            throw Failure(name, "cannot be locked");
        }
        std::this_thread::sleep_for(kPause);
    }
    return lock;
}

// SQLite takes an empty file for one that is to be made, and leaves alone what a log holds of another.
void ExpectNotEmptied(const fs::path& file) {
    std::error_code error;
    const bool emptied = fs::exists(file, error) && fs::file_size(file, error) == 0;
    if (emptied || (!fs::exists(file, error) && fs::exists(file.string() + "-wal", error))) {
        throw SQLite::Exception("the file is empty", SQLITE_NOTADB);
    }
}

void Prepare(SQLite::Database& database) {
    database.exec("PRAGMA auto_vacuum = INCREMENTAL");
    database.exec("PRAGMA journal_mode = WAL");
    database.exec("PRAGMA synchronous = NORMAL");
    database.exec("PRAGMA foreign_keys = ON");
    Migrate(database, HistorySteps());
}

// Without a log beside it everything stands in the file, and nobody writes: who may not make a log can read it
// that way alone.
std::string NameToRead(const fs::path& file) {
    if (fs::exists(file.string() + "-wal")) {
        return file.string();
    }
    std::string name = "file:";
    for (const char c : file.string()) {
        const bool plain = c != '%' && c != '?' && c != '#';
        name += plain ? std::string(1, c) : fmt::format("%{:02x}", static_cast<unsigned char>(c));
    }
    return name + "?immutable=1";
}

void ExpectVersion(SQLite::Database& database, const fs::path& file) {
    const int version = database.execAndGet("PRAGMA user_version").getInt();
    if (static_cast<std::size_t>(version) != HistorySteps().size()) {
        throw std::runtime_error(
            fmt::format("{}: is of another release of zelhealth; root's next run, or zelhealth "
                        "history as root, looks to it",
                        file.string()));
    }
}

}  // namespace

SQLite::Database& HistoryFile::Open(HistoryAccess access) {
    database_.reset();
    inode_ = InodeOf(path_);
    if (access == HistoryAccess::read) {
        database_ = std::make_unique<SQLite::Database>(
            NameToRead(path_), SQLite::OPEN_READONLY | SQLite::OPEN_URI, kPatience.count());
        ExpectVersion(*database_, path_);
        return *database_;
    }
    if (const std::string fault = MakeFolder(path_.parent_path()); !fault.empty()) {
        throw std::runtime_error(fault);
    }
    const Descriptor lock = LockBeside(path_);
    inode_ = InodeOf(path_);
    ExpectNotEmptied(path_);
    database_ = std::make_unique<SQLite::Database>(
        path_.string(), SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE, kPatience.count());
    inode_ = InodeOf(path_);
    Prepare(*database_);
    return *database_;
}

bool HistoryFile::IsInPlace() const {
    return InodeOf(path_) == inode_;
}

fs::path HistoryFile::SetAside() {
    const Descriptor lock = LockBeside(path_);
    database_.reset();
    if (!IsInPlace()) {
        return {};
    }
    const auto now = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
    const std::string aside =
        fmt::format("{}.damaged-{:%Y%m%dT%H%M%SZ}-{}", path_.string(), fmt::gmtime(now), getpid());
    if (rename(path_.c_str(), aside.c_str()) != 0 && errno != ENOENT) {
        throw Failure(path_, "cannot be set aside");
    }
    // What was written last stands there; it belongs to the file under its new name.
    const std::string log = path_.string() + "-wal";
    if (rename(log.c_str(), (aside + "-wal").c_str()) != 0 && errno != ENOENT) {
        throw Failure(log, "cannot be set aside");
    }
    unlink((path_.string() + "-shm").c_str());
    return aside;
}

bool IsDamage(const SQLite::Exception& error) {
    return error.getErrorCode() == SQLITE_CORRUPT || error.getErrorCode() == SQLITE_NOTADB;
}

std::string ErrorText(const fs::path& file, const SQLite::Exception& error) {
    return file.string() + ": " + error.what();
}

}  // namespace zelhealth
