// A connection whose peer is the test itself, which may send anything.
#include "vorl/Connection.h"

#include <gtest/gtest.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <random>
#include <vector>

#include "common/UniqueFd.h"
#include "vorl.h"

namespace {

using vorl::EncodeHeader;
using vorl::FrameType;
using vorl::Header;

constexpr size_t kPage = VORL_PAGE_BYTES;
constexpr off_t kBase = 0x80000000;
constexpr U8 kUntouched = 0x11;

class Connection : public ::testing::Test {
protected:
    Connection() {
        memory_.assign(5 * kPage, std::byte{kUntouched});
        Open();
    }

    void Open(std::vector<vorl::BrokenLine> lines = {}) {
        int ends[2];
        if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0)
            throw std::system_error(errno, std::generic_category());
        connection_.reset();
        peer_ = platform::UniqueFd(ends[0]);
        socket_ = platform::UniqueFd(ends[1]);
        connection_ = std::make_unique<vorl::Connection>(socket_.Get(), std::move(lines));
    }

    // The third page of five.
    std::byte* Window() {
        const auto begin = reinterpret_cast<uintptr_t>(memory_.data());
        return memory_.data() + ((begin + kPage - 1) / kPage * kPage - begin) + 2 * kPage;
    }
    void Register(int protection = VORL_PROT_READ | VORL_PROT_WRITE) {
        ASSERT_EQ(connection_->Register(Window(), kPage, 0, protection, 0), kBase);
    }
    // Whether no byte outside the window has changed.
    bool Untouched() {
        const std::byte* const window = Window();
        for (const std::byte& byte : memory_) {
            if ((&byte < window || &byte >= window + kPage) && byte != std::byte{kUntouched})
                return false;
        }
        return true;
    }

    void Send(const Header& header, size_t payload = 0) {
        const auto bytes = EncodeHeader(header);
        SendBytes(bytes);
        SendBytes(std::vector<std::byte>(payload, std::byte{0x22}));
    }
    void SendBytes(std::span<const std::byte> bytes) {
        while (!bytes.empty()) {
            const ssize_t sent = send(peer_.Get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
            if (sent <= 0)
                return;  // the connection has been ended
            bytes = bytes.subspan(static_cast<size_t>(sent));
        }
    }
    // The next frame; its payload goes to payload_. Empty when the connection was ended.
    std::optional<Header> Receive() {
        vorl::HeaderBytes bytes;
        if (recv(peer_.Get(), bytes.data(), bytes.size(), MSG_WAITALL) !=
            static_cast<ssize_t>(bytes.size()))
            return std::nullopt;
        const auto header = vorl::DecodeHeader(bytes);
        EXPECT_TRUE(header);
        payload_.resize(PayloadBytes(*header));
        if (!payload_.empty()) {
            EXPECT_EQ(recv(peer_.Get(), payload_.data(), payload_.size(), MSG_WAITALL),
                      static_cast<ssize_t>(payload_.size()));
        }
        return header;
    }
    void ExpectEnded() {
        while (Receive()) {
        }
        std::byte byte{};
        EXPECT_EQ(connection_->Receive(std::span(&byte, 1), true), -ECONNRESET);
        EXPECT_EQ(connection_->Send(std::span(&byte, 1), true), -ECONNRESET);
    }

    platform::UniqueFd peer_;
    platform::UniqueFd socket_;
    std::vector<std::byte> memory_;
    std::vector<std::byte> payload_;
    std::unique_ptr<vorl::Connection> connection_;
};

TEST_F(Connection, AnswersAWriteWithinAWindow) {
    Register();
    Send({.type = FrameType::Write, .id = 9, .offset = kBase + 4092, .length = 4}, 4);
    EXPECT_EQ(Receive(), (Header{.type = FrameType::WriteDone, .id = 9}));
    EXPECT_EQ(Window()[4091], std::byte{kUntouched});
    EXPECT_EQ(Window()[4092], std::byte{0x22});
    EXPECT_EQ(Window()[4095], std::byte{0x22});
    EXPECT_TRUE(Untouched());
}

// The four ways of a transfer's bytes: the peer's and the own requests, writing and reading.
TEST_F(Connection, BrokenLinesSpoilWhatTransfersBringAndNoMessage) {
    Open({{.toPeer = true, .word = 0, .bit = 0, .stuck = true},
          {.toPeer = false, .word = 0, .bit = 2, .stuck = true}});
    Register();
    Send({.type = FrameType::Write, .id = 1, .offset = kBase, .length = 4}, 4);
    EXPECT_EQ(Receive(), (Header{.type = FrameType::WriteDone, .id = 1}));
    EXPECT_EQ(Window()[0], std::byte{0x26}) << "the peer's write";
    EXPECT_EQ(Window()[1], std::byte{0x22});

    Send({.type = FrameType::Read, .id = 2, .offset = kBase + 8, .length = 4});
    EXPECT_EQ(Receive(), (Header{.type = FrameType::ReadDone, .id = 2, .length = 4}));
    EXPECT_EQ(payload_[0], std::byte{kUntouched | 1}) << "the peer's read";

    std::memset(Window(), 0x40, kPage);
    ASSERT_EQ(
        connection_->TransferBytes(
            {.direction = vorl::Direction::ToPeer, .local = kBase, .remote = kBase, .length = 4}),
        0);
    const auto write = Receive();
    ASSERT_TRUE(write && write->type == FrameType::Write);
    EXPECT_EQ(payload_[0], std::byte{0x41}) << "the own write";
    EXPECT_EQ(Window()[0], std::byte{0x40}) << "what was sent stays as it is";
    Send({.type = FrameType::WriteDone, .id = write->id});

    ASSERT_EQ(
        connection_->TransferBytes(
            {.direction = vorl::Direction::FromPeer, .local = kBase, .remote = kBase, .length = 4}),
        0);
    const auto read = Receive();
    ASSERT_TRUE(read && read->type == FrameType::Read);
    Send({.type = FrameType::ReadDone, .id = read->id, .length = 4}, 4);
    int mark = 0;
    ASSERT_EQ(connection_->MarkOwn(&mark), 0);
    ASSERT_EQ(connection_->WaitForMark(mark), 0);
    EXPECT_EQ(Window()[0], std::byte{0x26}) << "the own read";

    Send({.type = FrameType::Message, .length = 4}, 4);
    std::array<std::byte, 4> message{};
    ASSERT_EQ(connection_->Receive(message, true), 4);
    EXPECT_EQ(message[0], std::byte{0x22});
    ASSERT_EQ(connection_->Send(message, true), 4);
    EXPECT_EQ(Receive(), (Header{.type = FrameType::Message, .length = 4}));
    EXPECT_EQ(payload_[0], std::byte{0x22});
    EXPECT_TRUE(Untouched());
}

TEST_F(Connection, RefusesEveryOtherWriteAndRead) {
    Register();
    const std::pair<U64, U32> places[] = {{kBase + 4093, 4},
                                          {kBase - 1, 1},
                                          {kBase - 1, 2},
                                          {kBase + 4096, 1},
                                          {kBase, 4097},
                                          {kBase - 100, vorl::kMaxPayload},
                                          {0, 1},
                                          {0x7FFFFFFFFFFFFFFF, 1},
                                          {0x7FFFFFFFFFFFFFFF, vorl::kMaxPayload}};
    U32 id = 1;
    for (const auto& [offset, length] : places) {
        Send({.type = FrameType::Write, .id = id, .offset = offset, .length = length}, length);
        EXPECT_EQ(Receive(), (Header{.type = FrameType::WriteDone, .status = ENXIO, .id = id}));
        Send({.type = FrameType::Read, .id = id, .offset = offset, .length = length});
        EXPECT_EQ(Receive(), (Header{.type = FrameType::ReadDone, .status = ENXIO, .id = id}));
        ++id;
    }
    EXPECT_TRUE(Untouched());
    EXPECT_EQ(Window()[0], std::byte{kUntouched});
}

TEST_F(Connection, KeepsTheProtectionOfAWindow) {
    Register(VORL_PROT_READ);
    Send({.type = FrameType::Write, .id = 1, .offset = kBase, .length = 1}, 1);
    EXPECT_EQ(Receive(), (Header{.type = FrameType::WriteDone, .status = EACCES, .id = 1}));
    Send({.type = FrameType::Read, .id = 2, .offset = kBase, .length = 4});
    EXPECT_EQ(Receive(), (Header{.type = FrameType::ReadDone, .id = 2, .length = 4}));
    EXPECT_EQ(payload_, std::vector<std::byte>(4, std::byte{kUntouched}));
}

TEST_F(Connection, EndsWithAPeerThatDoesNotKeepToTheProtocol) {
    const Header frames[] = {
        {.type = static_cast<FrameType>(99), .length = 1},
        {.type = FrameType::WriteDone, .id = 1},  // nothing was asked for
        {.type = FrameType::ReadDone, .status = 6, .id = 1},
        {.type = FrameType::FenceDone, .id = 1},
        {.type = FrameType::Credit, .length = 1},  // nothing was sent
    };
    for (const Header& frame : frames) {
        Open();
        Send(frame);
        ExpectEnded();
    }
}

TEST_F(Connection, EndsWithAPeerThatSendsMoreThanThereIsRoomFor) {
    Send({.type = FrameType::Message, .length = vorl::kMaxPayload}, vorl::kMaxPayload);
    Send({.type = FrameType::Message, .length = 1}, 1);
    EXPECT_FALSE(Receive());
    // What came before is still received.
    std::vector<std::byte> message(vorl::kMaxPayload + 1);
    EXPECT_EQ(connection_->Receive(message, true), static_cast<int>(vorl::kMaxPayload));
    ExpectEnded();
}

TEST_F(Connection, EndsWithAPeerThatAsksWithoutReadingTheAnswers) {
    Register();
    for (int i = 0; i < 10000; ++i)
        Send({.type = FrameType::Read, .id = 1, .offset = kBase, .length = 4096});
    ExpectEnded();
}

TEST_F(Connection, EndsWithAPeerThatFencesWithoutEnd) {
    const auto mine = [this] {
        connection_->Register(Window(), kPage, 0, VORL_PROT_READ, 0);
        return connection_->TransferBytes(
            {.direction = vorl::Direction::ToPeer, .local = kBase, .remote = 0, .length = 1});
    };
    ASSERT_EQ(mine(), 0);  // never answered, so no fence can be
    for (U32 i = 0; i < vorl::kMaxFences + 1; ++i)
        Send({.type = FrameType::Fence, .id = i});
    ExpectEnded();
}

TEST_F(Connection, AnAnswerOfAnotherLengthIsNotTaken) {
    Register();
    std::thread answering([this] {
        const auto request = Receive();
        ASSERT_TRUE(request);
        EXPECT_EQ(request->type, FrameType::Read);
        Send({.type = FrameType::ReadDone, .id = request->id, .length = 8}, 8);
    });
    EXPECT_EQ(connection_->TransferBytes({.direction = vorl::Direction::FromPeer,
                                          .local = kBase,
                                          .remote = 0,
                                          .length = 4,
                                          .awaited = true}),
              -ECONNRESET);
    answering.join();
    EXPECT_EQ(Window()[0], std::byte{kUntouched});
}

TEST_F(Connection, APeerThatDiesInTheMiddleOfAFrameLeavesTheRestAlone) {
    Register();
    const auto header =
        EncodeHeader({.type = FrameType::Write, .id = 1, .offset = kBase, .length = 4096});
    SendBytes(header);
    SendBytes(std::vector<std::byte>(100, std::byte{0x22}));
    shutdown(peer_.Get(), SHUT_RDWR);
    std::byte byte{};
    EXPECT_EQ(connection_->Receive(std::span(&byte, 1), true), -ECONNRESET);
    EXPECT_EQ(Window()[0], std::byte{kUntouched});
}

TEST_F(Connection, SurvivesNoise) {
    std::mt19937 random(7);
    for (int round = 0; round < 200; ++round) {
        Open();
        Register();
        // Frames that are nearly right.
        for (int frame = 0; frame < 20; ++frame) {
            auto header = EncodeHeader({.type = static_cast<FrameType>(1 + random() % 8),
                                        .id = static_cast<U32>(random() % 3),
                                        .offset = kBase - 64 + random() % (2 * kPage),
                                        .length = static_cast<U32>(random() % 5000)});
            if (random() % 8 == 0)
                header[random() % header.size()] = static_cast<std::byte>(random());
            SendBytes(header);
            if (random() % 2 == 0)
                SendBytes(std::vector<std::byte>(random() % 5000, std::byte{0x22}));
        }
        shutdown(peer_.Get(), SHUT_RDWR);
        ASSERT_TRUE(Untouched()) << "round " << round;
    }
}

}  // namespace
