#include "history/HistoryFile.h"

#include <fcntl.h>
#include <fmt/chrono.h>
#include <fmt/format.h>
#include <sqlite3.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
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

// What SQLite puts beside a file, and what is held while it is made or set aside.
constexpr const char* kLog = "-wal";
constexpr const char* kSharedMemory = "-shm";
constexpr const char* kLock = "-lock";

std::runtime_error Failure(const fs::path& file, const char* what) {
    return std::runtime_error(file.string() + ": " + what + ": " + std::strerror(errno));
}

int Count(milliseconds patience) {
    return static_cast<int>(patience.count());
}

ino_t InodeOf(const fs::path& file) {
    struct stat found {};
    return stat(file.c_str(), &found) == 0 ? found.st_ino : 0;
}

// False where there is none.
bool Rename(const fs::path& file, const fs::path& name) {
    const bool renamed = rename(file.c_str(), name.c_str()) == 0;
    if (!renamed && errno != ENOENT) {
        throw Failure(file, "cannot be set aside");
    }
    return renamed;
}

// One at a time makes the file, or gives it another name; held until the descriptor is closed.
Descriptor LockBeside(const fs::path& file, milliseconds patience) {
    constexpr mode_t kForOwner = 0600;
    constexpr milliseconds kPause{10};
    const fs::path name = file.string() + kLock;
    Descriptor lock(open(name.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, kForOwner));
    if (!lock.IsOpen()) {
        throw Failure(name, "cannot be made");
    }
    const auto end = std::chrono::steady_clock::now() + patience;
    while (flock(lock.Get(), LOCK_EX | LOCK_NB) != 0) {
        if (errno != EWOULDBLOCK) {
            throw Failure(name, "cannot be locked");
        }
        if (std::chrono::steady_clock::now() >= end) {
            throw SQLite::Exception("database is locked", SQLITE_BUSY);
        }
        std::this_thread::sleep_for(kPause);
    }
    return lock;
}

// SQLite takes an empty file for one that is to be made, and leaves alone what a log holds of another.
void ExpectNotEmptied(const fs::path& file) {
    std::error_code error;
    const bool exists = fs::exists(file, error);
    if (exists && fs::file_size(file, error) == 0) {
        throw SQLite::Exception("the file is empty", SQLITE_NOTADB);
    }
    if (!exists && fs::exists(file.string() + kLog, error)) {
        throw SQLite::Exception("the file is gone, and only its log is left", SQLITE_NOTADB);
    }
}

// What could not be begun is no history: the next one would take it for one that was emptied.
void RemoveEmpty(const fs::path& file) {
    std::error_code error;
    if (fs::file_size(file, error) == 0 && !error) {
        for (const char* const end : {kSharedMemory, kLog, ""}) {
            unlink((file.string() + end).c_str());
        }
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
    if (fs::exists(file.string() + kLog)) {
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

bool HistoryFile::Owns(const fs::path& name) const {
    const std::array<const char*, 4> ends = {"", kLog, kSharedMemory, kLock};
    return std::any_of(ends.begin(), ends.end(), [this, &name](const char* end) {
        std::error_code error;
        const fs::path own = path_.string() + end;
        // By whatever way, and with whatever name, a link gives it.
        return fs::weakly_canonical(name, error) == fs::weakly_canonical(own, error) ||
               fs::equivalent(name, own, error);
    });
}

std::string HistoryFile::Clash(const std::vector<std::string>& outputs) const {
    const auto own = std::find_if(outputs.begin(), outputs.end(),
                                  [this](const std::string& name) { return Owns(name); });
    return own == outputs.end()
               ? ""
               : *own + " belongs to the history itself; give the output another file";
}

SQLite::Database& HistoryFile::Open(HistoryAccess access, milliseconds patience) {
    database_.reset();
    inode_ = InodeOf(path_);
    if (access == HistoryAccess::read) {
        database_ = std::make_unique<SQLite::Database>(
            NameToRead(path_), SQLite::OPEN_READONLY | SQLite::OPEN_URI, Count(patience));
        ExpectVersion(*database_, path_);
        return *database_;
    }
    if (const std::string fault = MakeFolder(path_.parent_path()); !fault.empty()) {
        throw std::runtime_error(fault);
    }
    const Descriptor lock = LockBeside(path_, patience);
    inode_ = InodeOf(path_);
    ExpectNotEmptied(path_);
    const bool isNew = inode_ == 0;
    try {
        database_ = std::make_unique<SQLite::Database>(
            path_.string(), SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE, Count(patience));
        inode_ = InodeOf(path_);
        Prepare(*database_);
    } catch (const SQLite::Exception&) {
        if (isNew) {
            database_.reset();
            RemoveEmpty(path_);
        }
        throw;
    }
    database_->setBusyTimeout(Count(kHistoryPatience));
    return *database_;
}

bool HistoryFile::IsInPlace() const {
    return InodeOf(path_) == inode_;
}

fs::path HistoryFile::SetAside() {
    const Descriptor lock = LockBeside(path_, kHistoryPatience);
    database_.reset();
    if (!IsInPlace()) {
        return {};
    }
    const auto now = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
    const std::string aside =
        fmt::format("{}.damaged-{:%Y%m%dT%H%M%SZ}-{}", path_.string(), fmt::gmtime(now), getpid());
    const bool file = Rename(path_, aside);
    // What was written last stands there; it belongs to the file under its new name.
    const bool log = Rename(path_.string() + kLog, aside + kLog);
    unlink((path_.string() + kSharedMemory).c_str());
    return file ? aside : log ? aside + kLog : "";
}

bool IsDamage(const SQLite::Exception& error) {
    return error.getErrorCode() == SQLITE_CORRUPT || error.getErrorCode() == SQLITE_NOTADB;
}

bool IsLock(const SQLite::Exception& error) {
    return error.getErrorCode() == SQLITE_BUSY || error.getErrorCode() == SQLITE_LOCKED;
}

std::string ErrorText(const fs::path& file, const SQLite::Exception& error) {
    std::string text = file.string() + ": " + error.what();
    switch (error.getErrorCode()) {
        case SQLITE_BUSY:
        case SQLITE_LOCKED:
            return text + "; another program holds it, which fuser " + file.string() +
                   " names: end that, and run again";
        case SQLITE_FULL:
            return text + "; make room there, and run again";
        case SQLITE_CANTOPEN:
        case SQLITE_IOERR:
        case SQLITE_READONLY:
            return text + "; see that " + file.parent_path().string() +
                   " can be written to, and run again";
        default:
            return text;
    }
}

}  // namespace zelhealth
