// Takes what the code under test prints with stdio and std::cout, as long as it lives. It stays in
// memory and no descriptor is touched: an input costs no system call, and a sanitizer's report is
// seen. One at a time.
#pragma once

#include <ext/stdio_sync_filebuf.h>

#include <cstddef>
#include <cstdio>
#include <string>

namespace fuzz {

class Output {
public:
    Output();
    ~Output();
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    // Everything so far.
    std::string Out() { return out_.Text(); }
    std::string Err() { return err_.Text(); }

private:
    class Stream {
    public:
        explicit Stream(FILE*& standard);
        ~Stream();
        Stream(const Stream&) = delete;
        Stream& operator=(const Stream&) = delete;

        FILE* File() { return file_; }
        std::string Text();

    private:
        FILE*& standard_;
        FILE* const saved_;
        char* text_ = nullptr;
        std::size_t size_ = 0;
        FILE* file_;
    };

    Stream out_;
    Stream err_;
    __gnu_cxx::stdio_sync_filebuf<char> coutBuffer_;
    std::streambuf* const savedCoutBuffer_;
};

}  // namespace fuzz
