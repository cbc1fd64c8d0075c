// The one exception type of the program: set-up that cannot go on, and helpers that could not do
// what they were asked. main prints its text and ends the run with status 1.
#pragma once

#include <stdexcept>

class CommonException : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};
