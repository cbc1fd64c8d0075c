#include "TraceLog.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdarg>
#include <string>
#include <thread>
#include <vector>

namespace {

using ::testing::ElementsAre;
using ::testing::internal::CaptureStderr;
using ::testing::internal::CaptureStdout;
using ::testing::internal::GetCapturedStderr;
using ::testing::internal::GetCapturedStdout;

PlyxDebugInfo site = {1, 1, "TraceLogTest", true, 0};

std::vector<std::string> received;

__attribute__((format(printf, 1, 2))) void Receive(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    EXPECT_STREQ(format, "%s");
    received.emplace_back(va_arg(arguments, const char*));
    va_end(arguments);
}

struct Printed {
    std::string out;
    std::string err;
};

// Prints one record of every level and gives what came out.
Printed PrintEveryLevel(TraceLog& log) {
    CaptureStdout();
    CaptureStderr();
    for (int level = DLVL_UNDEFINED; level < DLVL_NUM_LEVELS; ++level) {
        log.Print(site, static_cast<DebugLevel>(level), "%d ", level);
    }
    return {GetCapturedStdout(), GetCapturedStderr()};
}

// Standard error replaced by a pipe for as long as the object lives.
class ErrorPipe {
public:
    explicit ErrorPipe(int flags) : saved_(dup(STDERR_FILENO)) {
        EXPECT_EQ(pipe2(ends_.data(), flags), 0);
        EXPECT_EQ(dup2(ends_[1], STDERR_FILENO), STDERR_FILENO);
        close(ends_[1]);
    }
    ErrorPipe(const ErrorPipe&) = delete;
    ErrorPipe& operator=(const ErrorPipe&) = delete;
    ~ErrorPipe() {
        CloseWriter();
        close(ends_[0]);
    }

    int Reader() const { return ends_[0]; }
    void CloseWriter() {
        if (saved_ >= 0) {
            dup2(saved_, STDERR_FILENO);
            close(saved_);
            saved_ = -1;
        }
    }
    std::string ReadToEnd() const {
        std::string text;
        std::array<char, 4096> block;
        while (true) {
            const ssize_t got = read(Reader(), block.data(), block.size());
            if (got < 0 && errno == EAGAIN) {
                std::this_thread::yield();
                continue;
            }
            if (got <= 0) {
                return text;
            }
            text.append(block.data(), static_cast<std::size_t>(got));
        }
    }

private:
    int saved_;
    std::array<int, 2> ends_{-1, -1};
};

class TraceLogTest : public ::testing::Test {
protected:
    void SetUp() override { received.clear(); }
};

TEST_F(TraceLogTest, PrintsUpToTheThreshold) {
    TraceLog log(TraceConfig{});
    Printed printed = PrintEveryLevel(log);
    EXPECT_EQ(printed.err, "0 1 2 ");
    EXPECT_EQ(printed.out, "11 ");

    log.SetLevel(DLVL_DIAG2);
    printed = PrintEveryLevel(log);
    EXPECT_EQ(printed.err, "0 1 2 3 4 5 6 7 8 9 ");
    EXPECT_EQ(printed.out, "11 ");

    log.SetLevel(DLVL_UNDEFINED);
    printed = PrintEveryLevel(log);
    EXPECT_EQ(printed.err, "0 ");
    EXPECT_EQ(printed.out, "11 ");

    log.SetLevel(DLVL_TOOLS);
    printed = PrintEveryLevel(log);
    EXPECT_EQ(printed.err, "0 1 2 3 4 5 6 7 8 9 10 ");
    EXPECT_EQ(printed.out, "11 ") << "tools text is never on both";
}

TEST_F(TraceLogTest, SilentPrintsNothingWhateverTheLevel) {
    TraceLog log(TraceConfig{.threshold = DLVL_UNDEFINED, .silent = true});
    log.SetPrintCallback(&Receive);
    log.SetLevel(DLVL_TOOLS);
    const Printed printed = PrintEveryLevel(log);
    EXPECT_EQ(printed.err, "");
    EXPECT_EQ(printed.out, "");
    EXPECT_EQ(received.size(), 12U);
}

TEST_F(TraceLogTest, TheCallbackReceivesEveryRecordFormatted) {
    TraceLog log(TraceConfig{});
    log.SetPrintCallback(&Receive);
    CaptureStderr();
    log.Print(site, DLVL_ERROR, "a %d%%\n", 5);
    log.Print(site, DLVL_DIAG3, "%s", "b %n");
    log.SetPrintCallback(nullptr);
    log.Print(site, DLVL_ERROR, "c\n");
    EXPECT_EQ(GetCapturedStderr(), "a 5%\nc\n");
    EXPECT_THAT(received, ElementsAre("a 5%\n", "b %n"));
}

TraceLog* nestedLog = nullptr;

__attribute__((format(printf, 1, 2))) void PrintAgain(const char* format, ...) {
    static int depth = 0;
    received.emplace_back(format);
    if (++depth == 1) {
        nestedLog->Print(site, DLVL_ERROR, "inner\n");
    }
    --depth;
}

TEST_F(TraceLogTest, TheCallbackMayTrace) {
    TraceLog log(TraceConfig{});
    nestedLog = &log;
    log.SetPrintCallback(&PrintAgain);
    CaptureStderr();
    log.Print(site, DLVL_ERROR, "outer\n");
    nestedLog = nullptr;
    EXPECT_EQ(GetCapturedStderr(), "inner\nouter\n");
    EXPECT_EQ(received.size(), 2U);
}

TEST_F(TraceLogTest, ToolsTextKeepsItsPlaceAmongThePrintedText) {
    TraceLog log(TraceConfig{});
    CaptureStdout();
    std::printf("one\n");
    log.Print(site, DLVL_TOOLS, "two %d\n", 2);
    std::printf("three\n");
    EXPECT_EQ(GetCapturedStdout(), "one\ntwo 2\nthree\n");
}

TEST_F(TraceLogTest, PrintsNoMoreThanTheRecord) {
    TraceLog log(TraceConfig{});
    CaptureStderr();
    log.Print(site, DLVL_ERROR, "%s", "");
    log.Print(site, DLVL_ERROR, "no line end");
    EXPECT_EQ(GetCapturedStderr(), "no line end");
}

TEST_F(TraceLogTest, RecordsOfEverySizeArriveWhole) {
    TraceLog log(TraceConfig{});
    for (const std::size_t size : {1022U, 1023U, 1024U, 1025U, 100000U, 1000000U}) {
        const std::string text(size, 'x');
        CaptureStderr();
        log.Print(site, DLVL_ERROR, "%s|\n", text.c_str());
        EXPECT_EQ(GetCapturedStderr(), text + "|\n") << size;
    }
}

TEST_F(TraceLogTest, LeavesErrnoAlone) {
    TraceLog log(TraceConfig{});
    const int saved = dup(STDERR_FILENO);
    close(STDERR_FILENO);
    errno = E2BIG;
    log.Print(site, DLVL_ERROR, "to nobody\n");
    const int after = errno;
    dup2(saved, STDERR_FILENO);
    close(saved);
    EXPECT_EQ(after, E2BIG);
}

TEST_F(TraceLogTest, WaitsForAReaderThatIsSlow) {
    TraceLog log(TraceConfig{});
    const std::string text(300000, 'y');
    ErrorPipe errors(O_NONBLOCK);
    std::thread writer([&] {
        log.Print(site, DLVL_ERROR, "%s", text.c_str());
        errors.CloseWriter();
    });
    const std::string got = errors.ReadToEnd();
    writer.join();
    EXPECT_EQ(got, text);
}

TEST_F(TraceLogTest, RecordsOfThreadsAreNotTorn) {
    constexpr int kThreads = 4;
    constexpr int kRecords = 200;
    constexpr std::size_t kBytes = 5000;  // more than a pipe takes in one piece from two writers
    TraceLog log(TraceConfig{});
    ErrorPipe errors(0);
    std::string got;
    std::thread reader([&] { got = errors.ReadToEnd(); });
    std::vector<std::thread> writers;
    for (int i = 0; i < kThreads; ++i) {
        writers.emplace_back([&log, i] {
            const std::string text(kBytes, static_cast<char>('a' + i));
            for (int record = 0; record < kRecords; ++record) {
                log.Print(site, DLVL_ERROR, "%s\n", text.c_str());
            }
        });
    }
    for (std::thread& writer : writers) {
        writer.join();
    }
    errors.CloseWriter();
    reader.join();

    ASSERT_EQ(got.size(), kThreads * kRecords * (kBytes + 1));
    for (std::size_t start = 0; start < got.size(); start += kBytes + 1) {
        const std::string record = got.substr(start, kBytes + 1);
        ASSERT_EQ(record, std::string(kBytes, record[0]) + "\n") << "torn at byte " << start;
    }
}

TEST_F(TraceLogTest, LevelAndCallbackMayChangeWhileOthersPrint) {
    TraceLog log(TraceConfig{.threshold = DLVL_ERROR, .silent = true});
    std::thread changer([&log] {
        for (int i = 0; i < 1000; ++i) {
            log.SetLevel(static_cast<DebugLevel>(i % DLVL_NUM_LEVELS));
            log.SetPrintCallback(nullptr);
        }
    });
    for (int i = 0; i < 1000; ++i) {
        log.Print(site, DLVL_INFO, "%d", i);
    }
    changer.join();
    EXPECT_TRUE(received.empty());
}

// A thread that is cancelled while it waits for a full pipe still finishes its record, and the lock
// is free afterwards.
TEST_F(TraceLogTest, ARecordIsFinishedBeforeItsThreadIsCancelled) {
    TraceLog log(TraceConfig{});
    const std::string text(200000, 'z');
    ErrorPipe errors(0);
    struct Job {
        TraceLog* log;
        const std::string* text;
    } job = {&log, &text};
    pthread_t thread{};
    ASSERT_EQ(pthread_create(
                  &thread, nullptr,
                  [](void* argument) -> void* {
                      auto* const self = static_cast<Job*>(argument);
                      self->log->Print(site, DLVL_ERROR, "%s", self->text->c_str());
                      while (true) {
                          pause();
                      }
                  },
                  &job),
              0);
    std::array<char, 1> first{};
    ASSERT_EQ(read(errors.Reader(), first.data(), 1), 1);
    ASSERT_EQ(pthread_cancel(thread), 0);
    std::string got(first.data(), 1);
    while (got.size() < text.size()) {
        std::array<char, 4096> block;
        const ssize_t more = read(errors.Reader(), block.data(), block.size());
        ASSERT_GT(more, 0);
        got.append(block.data(), static_cast<std::size_t>(more));
    }
    void* result = nullptr;
    ASSERT_EQ(pthread_join(thread, &result), 0);
    EXPECT_EQ(result, PTHREAD_CANCELED);
    EXPECT_EQ(got, text);
    log.Print(site, DLVL_ERROR, "next");
    errors.CloseWriter();
    EXPECT_EQ(errors.ReadToEnd(), "next");
}

}  // namespace
