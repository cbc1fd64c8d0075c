// The one ordered record of what the code under test did to its surroundings.
//
// Every stand-in adds a line for each thing that reaches it; while a CaptureOutput lives, text on
// standard output and standard error gets lines too. The lines look like this:
//
//     ZelReadMMIOReg(0x1AB54)
//     settings.GetWords("pcieConfigReg", "deviceID", 50)
//     trace 8 "Device ID = 0x501F5A\n"
//     sleep(5)
//     stdout "Test Passed\n"
//
// Output is noticed when the next line is added: its place among the calls is right, the order of
// standard output and standard error between two calls is not known (standard output comes first).
// May be used from any thread.
#pragma once

#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace fakes {

class CaptureOutput;

class Journal {
public:
    void Add(std::string line);
    std::vector<std::string> Lines();

    // Only the lines that begin with `prefix`.
    std::vector<std::string> LinesWith(std::string_view prefix);

    void Clear();

private:
    friend class CaptureOutput;
    void SetCapture(CaptureOutput* capture);
    void NoteOutput();

    std::mutex lock_;
    std::vector<std::string> lines_;
    CaptureOutput* capture_ = nullptr;
};

Journal& TheJournal();

// Takes what is written to file descriptors 1 and 2, by child processes too, as long as it lives. One
// at a time. When the test has failed by the end, what was taken is shown, since it may hold the
// failure's text.
class CaptureOutput {
public:
    CaptureOutput();
    CaptureOutput(const CaptureOutput&) = delete;
    CaptureOutput& operator=(const CaptureOutput&) = delete;
    ~CaptureOutput();

    // Everything so far.
    std::string Out();
    std::string Err();

private:
    friend class Journal;

    struct Stream {
        Stream(int taken, const char* name);
        Stream(const Stream&) = delete;
        Stream& operator=(const Stream&) = delete;
        ~Stream();
        std::string TakeNew();

        const int descriptor;
        const char* const label;
        int saved = -1;
        int file = -1;
        std::string text;
    };

    void Refresh();

    Stream out_;
    Stream err_;
};

// `text` in double quotes with the escapes of C, as the journal shows it.
std::string Quote(std::string_view text);

}  // namespace fakes
