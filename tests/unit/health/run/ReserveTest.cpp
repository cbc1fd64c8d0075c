// The first who gets no memory gets it after all, and the run is to end; the second does not.
#include "run/Reserve.h"

#include <gtest/gtest.h>

#include <new>

namespace zelhealth {
namespace {

TEST(Reserve, IsGivenUpOnceAndWishesAStop) {
    const Reserve reserve;
    Stop wish;
    {
        const ReserveWatch watch(wish);
        EXPECT_FALSE(Reserve::IsUsed());
        EXPECT_FALSE(wish.Requested());
        std::get_new_handler()();
        EXPECT_TRUE(Reserve::IsUsed());
        EXPECT_TRUE(wish.Requested());
        std::get_new_handler()();
        EXPECT_EQ(std::get_new_handler(), nullptr);
    }
    Stop later;
    const ReserveWatch watch(later);
    EXPECT_TRUE(later.Requested());
}

}  // namespace
}  // namespace zelhealth
