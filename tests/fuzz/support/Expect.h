// What a target asserts of the code under test. A property that does not hold is said on standard
// error with the place of the call, and the process aborts: libFuzzer and the replay take that for a
// find.
#pragma once

#include <sstream>
#include <string>
#include <string_view>

namespace fuzz {

[[noreturn]] void Fail(std::string_view property, const char* file = __builtin_FILE(),
                       int line = __builtin_LINE());

inline void Expect(bool holds, std::string_view property, const char* file = __builtin_FILE(),
                   int line = __builtin_LINE()) {
    if (!holds)
        Fail(property, file, line);
}

// Both sides are shown.
template <typename Actual, typename Expected>
void ExpectEqual(const Actual& actual, const Expected& expected, std::string_view what,
                 const char* file = __builtin_FILE(), int line = __builtin_LINE()) {
    if (actual == expected)
        return;
    std::ostringstream text;
    text << what << "\n    is        " << actual << "\n    should be " << expected;
    Fail(text.str(), file, line);
}

}  // namespace fuzz
