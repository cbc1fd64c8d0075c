// The base of the tests of the two DMA tests: a shell that copies and runs the card's program as the
// test says, and threads that are waited for.
#pragma once

#include <atomic>
#include <functional>
#include <string>

#include "CommonTool/ShellExecuter.h"
#include "Door.h"
#include "FakeLinks.h"
#include "FakeThreads.h"
#include "TestEngine/RunningTest.h"

class DmaTest : public RunningTest {
protected:
    using ShellAnswer = fakes::ShellAnswer;

    // `program` is the card's, without its generation; `successText` what it prints.
    DmaTest(const char* test, std::string program, std::string successText)
        : RunningTest("-dma", test),
          program_(std::move(program)),
          successText_(std::move(successText)),
          threadsBefore_(fakes::FakeThreads::Count()),
          ownedBefore_(fakes::FakeThreads::CountOwned()) {
        fakes::SetLink("/proc/self/exe", "/opt/tools/ZelDiag");
        ShellExecuter::SetAppDirAccessPath();
        for (const char* const file : {"/usr/bin/ssh", "/usr/bin/scp"})
            fakes::Shell().SetFile(file, true);
        for (const char* const generation : {"_er1x", "_ev1x"})
            fakes::Shell().SetFile("/opt/tools/" + program_ + generation, true);
        upload_ = [](const std::string&) { return ShellAnswer{}; };
        execute_ = [this](const std::string&) { return ShellAnswer{.output = successText_}; };
        fakes::Shell().OnCommand([this](const std::string& command) {
            if (command.starts_with("/usr/bin/scp"))
                return upload_(command);
            executing_.Open();
            return execute_(command);
        });
        // A pause is long enough for the upload.
        waitForUpload_ = true;
        fakes::Clock().OnSleep([this](unsigned seconds) {
            if (onSleep_)
                onSleep_(seconds);
            if (waitForUpload_ && seconds == pollSeconds_)
                executing_.Await();
        });
    }
    ~DmaTest() override {
        AwaitWorkers();
        EXPECT_EQ(fakes::FakeThreads::CountOwned(), ownedBefore_) << "neither joined nor detached";
    }

    void Run(I16 expectedStatus = k_TestFinished) {
        executing_.Close();
        RunningTest::Run(expectedStatus);
    }

    // Opens the library and no card.
    static void OpenLibrary() { ASSERT_TRUE(zelAccess->setAccessHandle()); }

    // What the test's function is called with.
    U64 Block() const { return reinterpret_cast<U64>(group_.frontEnd->gen); }

    // Workers that the test gave up have ended.
    void AwaitWorkers() { fakes::FakeThreads::AwaitCount(threadsBefore_); }

    std::string Upload(const std::string& program, int card = 0) const {
        return "/usr/bin/scp /opt/tools/" + program + "  zel" + std::to_string(card) + ":/  2>&1";
    }
    std::string Execution(const std::string& program, int card = 0) const {
        return "/usr/bin/ssh zel" + std::to_string(card) + "  /" + program + " 1 1 0 0 0";
    }

    Texts LinesWith(const std::string& prefix) const {
        Texts found;
        for (const std::string& line : done_) {
            if (line.starts_with(prefix))
                found.push_back(line);
        }
        return found;
    }

    const std::string program_;
    const std::string successText_;
    const unsigned threadsBefore_;
    const unsigned ownedBefore_;
    std::function<ShellAnswer(const std::string&)> upload_;
    std::function<ShellAnswer(const std::string&)> execute_;
    std::function<void(unsigned)> onSleep_;
    Door executing_;
    std::atomic<bool> waitForUpload_{true};
    unsigned pollSeconds_ = 0;
};
