// The file of the history, a database of SQLite. Several runs may write to it at the same time, and one that is
// killed leaves what it has stored.
#pragma once

#include <SQLiteCpp/Database.h>
#include <sys/types.h>

#include <chrono>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace zelhealth {

// Its name in the folder of what outlives a run.
inline constexpr const char* kHistoryFile = "history.db";

// Others hold the file for a test's row, or for a few of the oldest runs.
inline constexpr std::chrono::milliseconds kHistoryPatience{5000};

enum class HistoryAccess { read, write };

class HistoryFile {
public:
    explicit HistoryFile(std::filesystem::path path) : path_(std::move(path)) {}

    const std::filesystem::path& Path() const { return path_; }

    // Why outputs cannot all be written: one would take the place of the file, or of what stands beside it and
    // belongs to it, there or not. Empty when they can.
    std::string Clash(const std::vector<std::string>& outputs) const;

    // To write, the file and its folders are made where they are missing. Throws SQLite::Exception, of which
    // IsDamage tells more; NewerHistory; and std::runtime_error with a text that names the file.
    // `patience` is for what others do to it.
    SQLite::Database& Open(HistoryAccess access,
                           std::chrono::milliseconds patience = kHistoryPatience);

    // Whether the file that was opened last still has its name.
    bool IsInPlace() const;

    // Closes the file that was opened last and gives it another name beside its own, so that a new one can begin.
    // Gives the name of
    // what is kept: where only its log is left, that of the log. Empty where somebody else has done so already. Throws std::runtime_error.
    std::filesystem::path SetAside();

private:
    bool Owns(const std::filesystem::path& name) const;

    std::filesystem::path path_;
    ino_t inode_ = 0;  // of what was opened last
    std::unique_ptr<SQLite::Database> database_;
};

// Whether the error says that the file is no sound database, and not that it cannot be used now.
bool IsDamage(const SQLite::Exception& error);

// Whether another program has the file, or a part of it, for itself.
bool IsLock(const SQLite::Exception& error);

// "/var/lib/zeldiag/history.db: database or disk is full; make room there, and run again"
std::string ErrorText(const std::filesystem::path& file, const SQLite::Exception& error);

}  // namespace zelhealth
