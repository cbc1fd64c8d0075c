// Keeps the journal and captures output into memory files, which need no reader while they fill.
#include "Journal.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <utility>

namespace fakes {

Journal& TheJournal() {
    static Journal* const journal = new Journal;  // outlives every static object of the program
    return *journal;
}

void Journal::Add(std::string line) {
    const std::lock_guard lock(lock_);
    NoteOutput();
    lines_.push_back(std::move(line));
}

std::vector<std::string> Journal::Lines() {
    const std::lock_guard lock(lock_);
    NoteOutput();
    return lines_;
}

std::vector<std::string> Journal::LinesWith(std::string_view prefix) {
    std::vector<std::string> chosen;
    for (std::string& line : Lines()) {
        if (line.starts_with(prefix)) {
            chosen.push_back(std::move(line));
        }
    }
    return chosen;
}

void Journal::Clear() {
    const std::lock_guard lock(lock_);
    NoteOutput();
    lines_.clear();
}

void Journal::SetCapture(CaptureOutput* capture) {
    const std::lock_guard lock(lock_);
    NoteOutput();
    capture_ = capture;
}

void Journal::NoteOutput() {
    if (capture_ == nullptr) {
        return;
    }
    std::fflush(stdout);
    for (auto* const stream : {&capture_->out_, &capture_->err_}) {
        const std::string text = stream->TakeNew();
        if (!text.empty()) {
            lines_.push_back(std::string(stream->label) + " " + Quote(text));
        }
    }
}

CaptureOutput::Stream::Stream(int taken, const char* name) : descriptor(taken), label(name) {
    saved = dup(taken);
    file = memfd_create(name, MFD_CLOEXEC);
    if (saved < 0 || file < 0 || fcntl(file, F_SETFL, O_APPEND) != 0 || dup2(file, taken) < 0) {
        ADD_FAILURE() << "output cannot be captured";
    }
}

CaptureOutput::Stream::~Stream() {
    dup2(saved, descriptor);
    close(saved);
    close(file);
}

std::string CaptureOutput::Stream::TakeNew() {
    const std::size_t before = text.size();
    std::array<char, 4096> block;
    ssize_t got = 0;
    while ((got = pread(file, block.data(), block.size(), static_cast<off_t>(text.size()))) > 0) {
        text.append(block.data(), static_cast<std::size_t>(got));
    }
    return text.substr(before);
}

namespace {

// What is waiting in the buffer belongs to where standard output led before.
int Flushed(int descriptor) {
    std::fflush(stdout);
    return descriptor;
}

}  // namespace

CaptureOutput::CaptureOutput()
    : out_(Flushed(STDOUT_FILENO), "stdout"), err_(STDERR_FILENO, "stderr") {
    TheJournal().SetCapture(this);
}

CaptureOutput::~CaptureOutput() {
    Refresh();
    TheJournal().SetCapture(nullptr);
    if (!::testing::Test::HasFailure()) {
        return;
    }
    for (const Stream* const stream : {&out_, &err_}) {
        const std::string shown = "captured " + std::string(stream->label) + ":\n" + stream->text;
        if (write(out_.saved, shown.data(), shown.size()) < 0) {
            return;
        }
    }
}

void CaptureOutput::Refresh() {
    TheJournal().Lines();
}

std::string CaptureOutput::Out() {
    Refresh();
    return out_.text;
}

std::string CaptureOutput::Err() {
    Refresh();
    return err_.text;
}

std::string Quote(std::string_view text) {
    std::string quoted = "\"";
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        std::array<char, 8> escape{};
        if (c == '\n') {
            quoted += "\\n";
        } else if (c == '\t') {
            quoted += "\\t";
        } else if (c == '\r') {
            quoted += "\\r";
        } else if (c == '"' || c == '\\') {
            quoted += '\\';
            quoted += c;
        } else if (byte < 0x20 || byte >= 0x7F) {
            std::snprintf(escape.data(), escape.size(), "\\x%02X", byte);
            quoted += escape.data();
        } else {
            quoted += c;
        }
    }
    return quoted + '"';
}

}  // namespace fakes
