// Reads Settings.ini into memory and hands out its values. Everything that is not a readable, plain
// text file of sensible size is refused before a byte of it is parsed.
#include "FileSettings.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <exception>
#include <new>
#include <utility>

#include "common/UniqueFd.h"

namespace {

constexpr char kFileName[] = "Settings.ini";
constexpr std::size_t kMaxFileBytes = std::size_t{1024} * 1024;

constexpr int kSuccess = 0;
constexpr int kFailure = 1;

SettingsFault SystemFault(const char* what, int error) {
    return {0, std::string(what) + ": " + std::strerror(error) +
                   "; the file belongs beside the program and must be readable"};
}

// Not blocking, so that a pipe or a device in the file's place cannot hold the program.
std::variant<std::string, SettingsFault> ReadFile(const std::string& path) {
    const platform::UniqueFd file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    if (!file.IsValid()) {
        return SystemFault("cannot be opened", errno);
    }
    struct stat status {};
    if (fstat(file.Get(), &status) != 0) {
        return SystemFault("cannot be examined", errno);
    }
    if (!S_ISREG(status.st_mode)) {
        return SettingsFault{0, "is not a regular file; put a text file in its place"};
    }

    std::string text;
    std::array<char, 16384> block;
    while (true) {
        const ssize_t got = read(file.Get(), block.data(), block.size());
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got < 0) {
            return SystemFault("cannot be read", errno);
        }
        if (got == 0) {
            return text;
        }
        text.append(block.data(), static_cast<std::size_t>(got));
        if (text.size() > kMaxFileBytes) {
            return SettingsFault{0, "is larger than 1 MiB; remove what is not a setting"};
        }
    }
}

int Report(const std::string& path, const SettingsFault& fault) {
    if (fault.line == 0) {
        std::fprintf(stderr, "%s: %s\n", path.c_str(), fault.text.c_str());
    } else {
        std::fprintf(stderr, "%s:%d: %s\n", path.c_str(), fault.line, fault.text.c_str());
    }
    return kFailure;
}

int ReportBadWord(const std::string& path, int line, const std::string& value) {
    try {
        return Report(path, {line, QuoteForFault(value) +
                                       " is not a number of at most 32 bits; write it in decimal, "
                                       "or in hexadecimal after \"0x\""});
    } catch (const std::bad_alloc&) {
        return kFailure;
    }
}

// Takes the capacity out of `*count` and sets it to 0, what a failed read leaves there.
std::size_t TakeCapacity(int* count) {
    return static_cast<std::size_t>(std::max(std::exchange(*count, 0), 0));
}

int LoadFile(const std::string& path, SettingsDocument& document) {
    auto text = ReadFile(path);
    if (const auto* fault = std::get_if<SettingsFault>(&text)) {
        return Report(path, *fault);
    }
    auto parsed = SettingsDocument::Parse(std::get<std::string>(text));
    if (const auto* fault = std::get_if<SettingsFault>(&parsed)) {
        return Report(path, *fault);
    }
    document = std::move(std::get<SettingsDocument>(parsed));
    return kSuccess;
}

}  // namespace

int FileSettings::Load(const char* directory) {
    document_ = {};
    if (directory == nullptr) {
        std::fprintf(stderr, "%s: no directory was given to load it from\n", kFileName);
        return kFailure;
    }
    try {
        path_ = directory;
        if (!path_.empty() && path_.back() != '/') {
            path_ += '/';
        }
        path_ += kFileName;
        return LoadFile(path_, document_);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s: cannot be loaded: %s\n", kFileName, error.what());
        document_ = {};
        return kFailure;
    }
}

int FileSettings::GetWords(const char* section, const char* key, int* count, U32* values) {
    if (section == nullptr || key == nullptr || count == nullptr) {
        return kFailure;
    }
    const std::size_t capacity = TakeCapacity(count);
    const SettingsDocument::Entry* const entry = document_.Find(section, key);
    if (entry == nullptr || (values == nullptr && capacity > 0)) {
        return kFailure;
    }
    for (std::size_t i = 0; i < entry->values.size(); ++i) {
        const std::optional<U32> word = ParseWord(entry->values[i]);
        if (!word) {
            return ReportBadWord(path_, entry->line, entry->values[i]);
        }
        if (i < capacity) {
            values[i] = *word;
        }
    }
    *count = static_cast<int>(entry->values.size());
    return kSuccess;
}

int FileSettings::GetStrings(const char* section, const char* key, int* count, const char** texts) {
    if (section == nullptr || key == nullptr || count == nullptr) {
        return kFailure;
    }
    const std::size_t capacity = TakeCapacity(count);
    const SettingsDocument::Entry* const entry = document_.Find(section, key);
    if (entry == nullptr || (texts == nullptr && capacity > 0)) {
        return kFailure;
    }
    const std::size_t filled = std::min(capacity, entry->values.size());
    std::transform(entry->values.begin(),
                   entry->values.begin() + static_cast<std::ptrdiff_t>(filled), texts,
                   [](const std::string& value) { return value.c_str(); });
    *count = static_cast<int>(entry->values.size());
    return kSuccess;
}
