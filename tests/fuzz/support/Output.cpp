// The C library's standard streams are variables: they are pointed at streams in memory.
#include "Output.h"

#include <iostream>

#include "Expect.h"

namespace fuzz {

Output::Stream::Stream(FILE*& standard)
    : standard_(standard), saved_(standard), file_(open_memstream(&text_, &size_)) {
    Expect(file_ != nullptr, "there is memory for what is printed");
    standard_ = file_;
}

Output::Stream::~Stream() {
    standard_ = saved_;
    std::fclose(file_);
    std::free(text_);
}

std::string Output::Stream::Text() {
    std::fflush(file_);
    return std::string(text_, size_);
}

Output::Output()
    : out_(stdout),
      err_(stderr),
      coutBuffer_(out_.File()),
      savedCoutBuffer_(std::cout.rdbuf(&coutBuffer_)) {}

Output::~Output() {
    std::cout.rdbuf(savedCoutBuffer_);
}

}  // namespace fuzz
