#include "vorl/Ring.h"

#include <gtest/gtest.h>

#include <deque>
#include <random>

namespace {

TEST(Ring, IsAQueueOfItsCapacity) {
    vorl::Ring<int, 3> ring;
    EXPECT_TRUE(ring.Empty());
    for (int round = 0; round < 5; ++round) {
        for (int i = 0; i < 3; ++i) {
            EXPECT_FALSE(ring.Full());
            ring.Push(round * 10 + i);
        }
        EXPECT_TRUE(ring.Full());
        EXPECT_EQ(ring.At(2), round * 10 + 2);
        for (int i = 0; i < 3; ++i) {
            EXPECT_EQ(ring.Front(), round * 10 + i);
            EXPECT_EQ(ring.Pop(), round * 10 + i);
        }
        EXPECT_TRUE(ring.Empty());
        ring.Push(0);
        ring.Pop();  // the next round begins elsewhere
    }
}

TEST(ByteRing, IsAQueueOfBytes) {
    std::mt19937 random(1);
    vorl::ByteRing ring(64);
    std::deque<std::byte> model;
    for (int step = 0; step < 20000; ++step) {
        std::vector<std::byte> bytes(random() % 80);
        if (random() % 2 == 0) {
            bytes.resize(std::min(bytes.size(), ring.Room()));
            for (std::byte& byte : bytes)
                byte = static_cast<std::byte>(random());
            ring.Push(bytes);
            model.insert(model.end(), bytes.begin(), bytes.end());
        } else {
            const size_t taken = ring.Pop(bytes);
            ASSERT_EQ(taken, std::min(bytes.size(), model.size()));
            for (size_t i = 0; i < taken; ++i) {
                ASSERT_EQ(bytes[i], model.front());
                model.pop_front();
            }
        }
        ASSERT_EQ(ring.Size(), model.size());
        ASSERT_EQ(ring.Room(), 64 - model.size());
    }
}

}  // namespace
