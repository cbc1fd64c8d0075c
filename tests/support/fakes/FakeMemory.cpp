// Replaces the functions at link time: definitions in the program come before those of libraries.
// Only malloc stays what it is for everybody else: the linker leads the program's own calls here.
#include "FakeMemory.h"

#include <gtest/gtest.h>
#include <malloc.h>

#include <cerrno>
#include <cstdlib>
#include <new>

namespace fakes {

FakeMemory& Memory() {
    static FakeMemory* const memory =
        new FakeMemory;  // outlives every static object of the program
    return *memory;
}

void FakeMemory::FailPlain(unsigned skip) {
    plainSkip_ = skip;
    plainFails_ = true;
}

void FakeMemory::FailAligned(int error, unsigned skip) {
    skip_ = skip;
    error_ = error;
}

void FakeMemory::FailArray() {
    arrayFails_ = true;
}

void FakeMemory::Reset() {
    plainFails_ = false;
    plainSkip_ = 0;
    error_ = 0;
    skip_ = 0;
    arrayFails_ = false;
}

void FakeMemory::Verify() {
    EXPECT_FALSE(plainFails_) << "malloc was to fail, and was not called";
    EXPECT_EQ(error_, 0) << "aligned memory was to run out, and none was asked for";
    EXPECT_FALSE(arrayFails_) << "an array was not to be allocated, and none was asked for";
}

bool FakeMemory::PlainFails() {
    if (!plainFails_)
        return false;
    if (plainSkip_ > 0) {
        --plainSkip_;
        return false;
    }
    return plainFails_.exchange(false);
}

int FakeMemory::AlignedError() {
    if (error_ == 0)
        return 0;
    if (skip_ > 0) {
        --skip_;
        return 0;
    }
    return error_.exchange(0);
}

bool FakeMemory::ArrayFails() {
    return arrayFails_.exchange(false);
}

}  // namespace fakes

// libc declares its parameters with reserved names, and the linker asks for some.
// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name, bugprone-reserved-identifier)
extern "C" {

void* __real_malloc(size_t bytes);

void* __wrap_malloc(size_t bytes) {
    return fakes::Memory().PlainFails() ? nullptr : __real_malloc(bytes);
}

int posix_memalign(void** memory, size_t alignment, size_t bytes) {
    if (const int error = fakes::Memory().AlignedError(); error != 0)
        return error;
    *memory = memalign(alignment, bytes);
    return *memory != nullptr ? 0 : ENOMEM;
}

void* aligned_alloc(size_t alignment, size_t bytes) {
    if (const int error = fakes::Memory().AlignedError(); error != 0) {
        errno = error;
        return nullptr;
    }
    return memalign(alignment, bytes);
}

}  // extern "C"
// NOLINTEND(readability-inconsistent-declaration-parameter-name, bugprone-reserved-identifier)

void* operator new[](size_t bytes) {
    void* const memory = fakes::Memory().ArrayFails() ? nullptr : __real_malloc(bytes);
    if (memory == nullptr)
        throw std::bad_alloc();
    return memory;
}

void operator delete[](void* memory) noexcept {
    std::free(memory);
}

void operator delete[](void* memory, size_t) noexcept {
    std::free(memory);
}

void* operator new[](size_t bytes, const std::nothrow_t&) noexcept {
    try {
        return ::operator new[](bytes);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}
