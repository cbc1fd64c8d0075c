// The program's three ways of printing.
#include "TestEngine/te_main_console.h"

#include "TestEngine/te_main_params.h"
#include "ToolFixture.h"

namespace {

class Console : public ToolFixture {
protected:
    std::string Displayed(const std::string& text) {
        fakes::CaptureOutput capture;
        IFSTDISP("%s", text.c_str());
        return capture.Out();
    }

    // What `write` leaves in an open data log.
    template <typename Write>
    std::string Logged(Write write) {
        FILE* log = std::tmpfile();
        ifstSetupParams.logCtl.logEna = 1;
        ifstSetupParams.logCtl.dataLogHndl = log;
        write();
        std::rewind(log);
        std::string text(8192, '\0');
        text.resize(std::fread(text.data(), 1, text.size(), log));
        std::fclose(log);
        ifstSetupParams.logCtl.dataLogHndl = nullptr;
        return text;
    }
};

TEST_F(Console, DisplaysUpToTheLastLineEnd) {
    const std::vector<std::pair<std::string, std::string>> rows{
        {"abc", ""},           {"abc\n", "abc\n"}, {"a\n\nb", "a\n\n"},  {"", ""},
        {"\n", "\n"},          {"a\nb", "a\n"},    {"a\nb\n", "a\nb\n"}, {"\n\n\n", "\n\n\n"},
        {"a \n \n", "a \n \n"}};
    for (const auto& [text, expected] : rows)
        EXPECT_EQ(Displayed(text), expected) << fakes::Quote(text);
}

TEST_F(Console, StopsAtALineThatIsTooLong) {
    const std::string longest(1024, 'x');
    EXPECT_EQ(Displayed(longest + "\nb\n"), longest + "\nb\n");
    EXPECT_EQ(Displayed("a\n" + longest + "x\nb\n"), "a\n");
}

TEST_F(Console, CutsWhatItsBufferDoesNotHold) {
    std::string text;
    for (int i = 0; i < 200; ++i)
        text += std::string(99, 'y') + "\n";
    EXPECT_EQ(Displayed(text).size(), 10200U) << "whole lines within 10239 characters";
}

TEST_F(Console, DisplaysInQuietModeAndNeverToTheLog) {
    ifstSetupParams.bQuietMode = 1;
    fakes::CaptureOutput capture;
    EXPECT_EQ(Logged([] { IFSTDISP("shown\n"); }), "");
    EXPECT_EQ(capture.Out(), "shown\n");
}

TEST_F(Console, RestoresTheDisplayState) {
    ifstSetupParams.conc.state = 5;
    {
        const ifstDisplayState displaying;
        EXPECT_EQ(ifstSetupParams.conc.state, 12U);
    }
    EXPECT_EQ(ifstSetupParams.conc.state, 5U);
}

// Stands in for standard output, and notes the display state while it is written to.
class StateWatch {
public:
    StateWatch() : before_(stdout) {
        stdout = fopencookie(this, "w",
                             {.read = nullptr, .write = Write, .seek = nullptr, .close = nullptr});
        std::setvbuf(stdout, nullptr, _IONBF, 0);
    }
    StateWatch(const StateWatch&) = delete;
    StateWatch& operator=(const StateWatch&) = delete;
    ~StateWatch() {
        std::fclose(stdout);
        stdout = before_;
    }
    U32 State() const { return state_; }

private:
    static ssize_t Write(void* cookie, const char*, size_t size) {
        static_cast<StateWatch*>(cookie)->state_ = ifstSetupParams.conc.state;
        return static_cast<ssize_t>(size);
    }

    FILE* before_;
    U32 state_ = 0;
};

TEST_F(Console, HoldsTheDisplayStateWhileItDisplays) {
    ifstSetupParams.conc.state = 5;
    const StateWatch watch;
    IFSTDISP("shown\n");
    EXPECT_EQ(watch.State(), 12U);
    EXPECT_EQ(ifstSetupParams.conc.state, 5U);
}

TEST_F(Console, SaysThatThereIsNoMemoryToPrintIn) {
    ifstSetupParams.conc.state = 5;
    fakes::CaptureOutput capture;
    fakes::Memory().FailPlain();
    IFSTDISP("lost\n");
    EXPECT_EQ(capture.Out(), "!!ERROR!! can not allocate memory \n");
    EXPECT_EQ(ifstSetupParams.conc.state, 5U);
    fakes::Memory().FailPlain();
    EXPECT_EQ(Logged([] { DPF_PRINT("lost\n"); }), "");
    EXPECT_EQ(capture.Out(),
              "!!ERROR!! can not allocate memory \n\n Can not allocate buffer for printf\n");
}

TEST_F(Console, LeavesOutLinesThatThereIsNoMemoryFor) {
    fakes::CaptureOutput capture;
    fakes::Memory().FailPlain(1);
    IFSTDISP("lost\n");
    EXPECT_EQ(capture.Out(), "");
}

TEST_F(Console, TakesTheFirstLine) {
    char text[] = "one\ntwo";
    char line[8] = "-------";
    U32 length = sizeof(line);
    EXPECT_EQ(DISP_GET_LINE(text, line, &length), 1);
    EXPECT_EQ(length, 3U);
    EXPECT_EQ(std::string(line, 4), "one-") << "no terminator is added";

    length = 2;
    EXPECT_EQ(DISP_GET_LINE(text, line, &length), 0);
    EXPECT_EQ(length, 2U);
    length = 8;
    char noEnd[] = "two";
    EXPECT_EQ(DISP_GET_LINE(noEnd, line, &length), 0);
    EXPECT_EQ(DISP_GET_LINE(nullptr, line, &length), 0);
    EXPECT_EQ(DISP_GET_LINE(text, nullptr, &length), 0);
    DISPLINES(nullptr);
}

TEST_F(Console, PrintsEngineLinesWhereTheyBelong) {
    {
        fakes::CaptureOutput capture;
        EXPECT_EQ(Logged([] { ifstPrint("line %d\n", 1); }), "line 1\n");
        EXPECT_EQ(capture.Out(), "line 1\n");
    }
    ifstSetupParams.bQuietMode = 1;
    {
        fakes::CaptureOutput capture;
        EXPECT_EQ(Logged([] { ifstPrint("line %d\n", 2); }), "line 2\n");
        EXPECT_EQ(capture.Out(), "");
    }
}

TEST_F(Console, LogsOnlyWhenLoggingIsOn) {
    EXPECT_EQ(Logged([] {
                  ifstSetupParams.logCtl.logEna = 0;
                  ifstSetupParams.bQuietMode = 1;
                  ifstPrint("x\n");
                  DPF_PRINT("y\n");
              }),
              "");
}

TEST_F(Console, WritesTraceRecordsToTheDataLogOnly) {
    fakes::CaptureOutput capture;
    EXPECT_EQ(Logged([] { DPF_PRINT("%s", "100%% of %d\n"); }), "100% of %d\n");
    EXPECT_EQ(Logged([] { DPF_PRINT("%s", "%"); }), "%");
    EXPECT_EQ(capture.Out(), "");
}

TEST(Rules, AreSeventyTwoCharactersLong) {
    EXPECT_EQ(std::string(k_SingleRule), std::string(72, '-'));
    EXPECT_EQ(std::string(k_DoubleRule), std::string(72, '='));
}

}  // namespace
