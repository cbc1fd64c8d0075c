// The card-access library as zelcard uses it: opened once, one card at a time.
//
// A call that the library refuses throws CallFailure with the library's own text; what asks for several
// facts catches it a fact, so that one that cannot be had does not hide the others. A library that hangs
// hangs the program: whoever starts it gives it a deadline.
#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <vector>

#include "ZelAccessApi.h"

namespace zelcard {

struct CallFailure : std::runtime_error {
    CallFailure(const std::string& failedCall, U32 failedStatus);
    std::string call;
    U32 status;
};

// Throws when a call did not succeed.
void Check(const char* call, U32 status);

struct NoSuchCard : std::runtime_error {
    using runtime_error::runtime_error;
};

class Library {
public:
    Library();
    ~Library();
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;

    std::size_t Size() const { return devices_.size(); }
    const ZelDeviceOnSystem& Device(std::size_t card) const { return devices_[card]; }

    // Which card "zel1", "1" or "0000:03:00.0" is.
    std::size_t Find(const std::string& card) const;

    // Opens a card, and gives the handle with which it is asked until this object goes.
    HANDLE OpenCard(std::size_t card);

private:
    HANDLE handle_ = nullptr;
    bool cardIsOpen_ = false;
    std::vector<ZelDeviceOnSystem> devices_;
};

std::string CardName(std::size_t card);

// The address that the kernel's class folder tells, domain and function included; "" without it.
std::string PcieAddress(std::size_t card);

}  // namespace zelcard
