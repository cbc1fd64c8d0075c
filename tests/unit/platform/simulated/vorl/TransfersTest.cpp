#include "vorl/Transfers.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <memory>

namespace {

using vorl::Direction;
using vorl::kMaxPayload;
using vorl::Request;
using vorl::Transfer;

class TransferQueue : public ::testing::Test {
protected:
    std::shared_ptr<Transfer> Begin(Direction direction, U64 length, bool awaited = true) {
        auto transfer = std::make_shared<Transfer>(Transfer{.direction = direction,
                                                            .local = 0x1000,
                                                            .remote = 0x2000,
                                                            .length = length,
                                                            .awaited = awaited});
        queue_.Begin(transfer);
        return transfer;
    }
    Request Make() {
        const auto request = queue_.Next();
        EXPECT_TRUE(request);
        queue_.Made(*request);
        return *request;
    }
    void Answer(const Request& request, int error = 0) {
        ASSERT_TRUE(queue_.Awaited(request.direction, request.id));
        queue_.Answered(error);
    }

    vorl::TransferQueue queue_;
};

TEST_F(TransferQueue, CutsATransferIntoRequests) {
    const auto transfer = Begin(Direction::ToPeer, 2 * kMaxPayload + 5);
    const Request first = Make();
    const Request second = Make();
    const Request third = Make();
    EXPECT_EQ(first.length, kMaxPayload);
    EXPECT_EQ(second.local, 0x1000 + kMaxPayload);
    EXPECT_EQ(second.remote, 0x2000 + kMaxPayload);
    EXPECT_EQ(third.length, 5U);
    EXPECT_FALSE(queue_.Next());
    Answer(first);
    Answer(second);
    EXPECT_FALSE(transfer->done);
    Answer(third);
    EXPECT_TRUE(transfer->done);
    EXPECT_EQ(queue_.Completed(), 1U);
}

TEST_F(TransferQueue, LimitsWhatIsUnanswered) {
    Begin(Direction::ToPeer, U64{100} * kMaxPayload);
    const Request first = Make();
    for (size_t i = 1; i < vorl::kMaxRequests; ++i)
        Make();
    EXPECT_FALSE(queue_.Next());
    Answer(first);
    EXPECT_TRUE(queue_.Next());
}

TEST_F(TransferQueue, AWriteWaitsForTheReadsBeforeIt) {
    Begin(Direction::FromPeer, 1);
    Begin(Direction::ToPeer, 1);
    const Request read = Make();
    EXPECT_FALSE(queue_.Next());
    Answer(read);
    const Request write = Make();
    EXPECT_EQ(write.direction, Direction::ToPeer);
    Begin(Direction::FromPeer, 1);
    EXPECT_TRUE(queue_.Next());  // a read need not wait for a write
}

TEST_F(TransferQueue, RefusesAnswersOutOfOrder) {
    EXPECT_FALSE(queue_.Awaited(Direction::ToPeer, 1));
    Begin(Direction::ToPeer, 2 * kMaxPayload);
    const Request first = Make();
    const Request second = Make();
    EXPECT_FALSE(queue_.Awaited(Direction::ToPeer, second.id));
    EXPECT_FALSE(queue_.Awaited(Direction::FromPeer, first.id));
    EXPECT_TRUE(queue_.Awaited(Direction::ToPeer, first.id));
}

TEST_F(TransferQueue, TheFirstErrorEndsATransfer) {
    const auto transfer = Begin(Direction::ToPeer, U64{10} * kMaxPayload);
    const auto next = Begin(Direction::ToPeer, 1);
    const Request first = Make();
    const Request second = Make();
    Answer(first, ENXIO);
    EXPECT_FALSE(transfer->done);  // one request is still unanswered
    const Request other = Make();
    EXPECT_EQ(other.transfer, next.get());
    Answer(second, EACCES);
    EXPECT_TRUE(transfer->done);
    EXPECT_EQ(transfer->error, ENXIO);
    Answer(other);
    EXPECT_EQ(next->error, 0);
    EXPECT_EQ(queue_.TakeError(), 0);  // both had a caller who waits
}

TEST_F(TransferQueue, ARequestThatCannotBeMadeFailsItsTransfer) {
    const auto transfer = Begin(Direction::ToPeer, 2 * kMaxPayload);
    const Request first = Make();
    queue_.Failed(*queue_.Next(), ENXIO);
    EXPECT_FALSE(queue_.Next());
    EXPECT_FALSE(transfer->done);
    Answer(first);
    EXPECT_TRUE(transfer->done);
    EXPECT_EQ(transfer->error, ENXIO);
}

TEST_F(TransferQueue, KeepsTheFirstErrorThatNobodyAwaits) {
    Begin(Direction::ToPeer, 1, false);
    Begin(Direction::ToPeer, 1, false);
    const Request first = Make();
    const Request second = Make();
    Answer(first, EACCES);
    Answer(second, ENXIO);
    EXPECT_EQ(queue_.TakeError(), EACCES);
    EXPECT_EQ(queue_.TakeError(), 0);
}

TEST_F(TransferQueue, AbandonFailsAllThatHasNotCompleted) {
    const auto made = Begin(Direction::FromPeer, 1);
    const auto waiting = Begin(Direction::ToPeer, 1);
    Make();
    queue_.Abandon(ECONNRESET);
    for (const auto& transfer : {made, waiting}) {
        EXPECT_TRUE(transfer->done);
        EXPECT_EQ(transfer->error, ECONNRESET);
    }
    EXPECT_EQ(queue_.Completed(), queue_.Begun());
    EXPECT_FALSE(queue_.Next());
    Begin(Direction::ToPeer, 1);
    EXPECT_TRUE(queue_.Next());  // no read is thought of as unanswered
}

TEST_F(TransferQueue, HasALimit) {
    for (size_t i = 0; i < vorl::kMaxTransfers; ++i) {
        EXPECT_FALSE(queue_.Full());
        Begin(Direction::ToPeer, 1);
    }
    EXPECT_TRUE(queue_.Full());
    Answer(Make());
    EXPECT_FALSE(queue_.Full());
}

}  // namespace
