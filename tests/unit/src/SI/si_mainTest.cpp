// Memory and the end of the process.
#include "SI/si_main.h"

#include <malloc.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "Fixture.h"

namespace {

class SystemServices : public fakes::Fixture {};

TEST_F(SystemServices, EndTheProcessAsExitDoes) {
    EXPECT_EXIT(ssExitTask(0), testing::ExitedWithCode(0), "");
    EXPECT_EXIT(ssExitTask(-5), testing::ExitedWithCode(251), "");
    EXPECT_EXIT(
        {
            std::atexit([] { std::fputs("said goodbye", stderr); });
            ssExitTask(1);
        },
        testing::ExitedWithCode(1), "said goodbye");
}

TEST_F(SystemServices, GiveMemoryOfTheSize) {
    void* const memory = ssMemAlloc(100000);
    ASSERT_NE(memory, nullptr);
    std::memset(memory, 0x5A, 100000);
    ssFreeMem(memory);
    void* const empty = ssMemAlloc(0);
    EXPECT_NE(empty, nullptr) << "as malloc";
    ssFreeMem(empty);
    ssFreeMem(nullptr);
}

// So large a piece goes back to the system by itself. A sanitizer keeps no such count.
TEST_F(SystemServices, TakeMemoryBack) {
    constexpr int kBytes = 64 << 20;
    const size_t before = mallinfo2().hblkhd;
    ssFreeMem(ssMemAlloc(kBytes));
    EXPECT_LT(mallinfo2().hblkhd, before + kBytes);
}

TEST_F(SystemServices, GiveNoneOfANegativeSize) {
    EXPECT_EQ(ssMemAlloc(-1), nullptr);
    EXPECT_EQ(ssTextAlloc(-1), nullptr);
}

TEST_F(SystemServices, GiveNoneWhereThereIsNone) {
    fakes::Memory().FailPlain();
    EXPECT_EQ(ssMemAlloc(1), nullptr);
    fakes::Memory().FailPlain();
    EXPECT_EQ(ssTextAlloc(1), nullptr);
}

TEST_F(SystemServices, GiveTextsThatHaveAnOwner) {
    const ssText text = ssTextAlloc(6);
    ASSERT_NE(text, nullptr);
    std::strcpy(text.get(), "hello");
    EXPECT_STREQ(text.get(), "hello");
}

}  // namespace
