// The library as a program uses it: two ends in one process.
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <thread>
#include <vector>

#include "vorl.h"

namespace {

constexpr size_t kPage = VORL_PAGE_BYTES;
constexpr off_t kBase = 0x80000000;
constexpr int kBoth = VORL_PROT_READ | VORL_PROT_WRITE;

struct Free {
    void operator()(U8* memory) const { std::free(memory); }
};
using Pages = std::unique_ptr<U8, Free>;

Pages AllocatePages(size_t pages, U8 fill) {
    Pages memory(static_cast<U8*>(std::aligned_alloc(kPage, pages * kPage)));
    std::memset(memory.get(), fill, pages * kPage);
    return memory;
}

bool IsFilled(const Pages& memory, size_t bytes, U8 value) {
    return std::all_of(memory.get(), memory.get() + bytes, [=](U8 byte) { return byte == value; });
}

// Two open endpoints, not connected; connected by Connect.
class Vorl : public ::testing::Test {
protected:
    Vorl() : listening_(vorl_open()), near_(vorl_open()) {
        port_ = static_cast<U16>(vorl_bind(listening_, 0));
    }
    ~Vorl() override {
        for (const int epd : {listening_, near_, far_})
            vorl_close(epd);
    }

    void Connect() {
        ASSERT_EQ(vorl_listen(listening_, 4), 0);
        vorl_portID peer{0, port_};
        ASSERT_EQ(vorl_connect(near_, &peer), 0);
        ASSERT_EQ(vorl_accept(listening_, &peer_, &far_, VORL_ACCEPT_SYNC), 0);
    }
    static off_t Register(int epd, const Pages& memory, size_t pages, int protection = kBoth) {
        return vorl_register(epd, memory.get(), pages * kPage, 0, protection, 0);
    }
    static int Message(int epd, int value) {
        return vorl_send(epd, &value, sizeof value, VORL_SEND_BLOCK);
    }
    // Its descriptor is that of a socket.
    static bool HasPort(int epd) {
        sockaddr_un name{};
        socklen_t length = sizeof name;
        return getsockname(epd, reinterpret_cast<sockaddr*>(&name), &length) == 0 &&
               length > sizeof name.sun_family;
    }
    static int NextMessage(int epd) {
        int value = -1;
        return vorl_recv(epd, &value, sizeof value, VORL_RECV_BLOCK) == sizeof value ? value : -1;
    }

    int listening_;
    int near_;
    int far_ = -1;
    U16 port_ = 0;
    vorl_portID peer_{};
};

#define EXPECT_FAILS(call, error)         \
    do {                                  \
        errno = 0;                        \
        EXPECT_EQ((call), -1);            \
        EXPECT_EQ(errno, error) << #call; \
    } while (false)

TEST_F(Vorl, RefusesDescriptorsThatAreNotOpen) {
    char byte = 0;
    int mark = 0;
    vorl_portID peer{};
    for (const int epd : {-1, 0, 1, 9999}) {
        EXPECT_FAILS(vorl_close(epd), EBADF);
        EXPECT_FAILS(vorl_bind(epd, 0), EBADF);
        EXPECT_FAILS(vorl_listen(epd, 1), EBADF);
        EXPECT_FAILS(vorl_connect(epd, &peer), EBADF);
        EXPECT_FAILS(vorl_accept(epd, &peer, &mark, 1), EBADF);
        EXPECT_FAILS(vorl_send(epd, &byte, 1, 1), EBADF);
        EXPECT_FAILS(vorl_recv(epd, &byte, 1, 1), EBADF);
        EXPECT_FAILS(vorl_register(epd, &byte, kPage, 0, kBoth, 0), EBADF);
        EXPECT_FAILS(vorl_unregister(epd, 0, kPage), EBADF);
        EXPECT_FAILS(vorl_writeto(epd, 0, 1, 0, 0), EBADF);
        EXPECT_FAILS(vorl_readfrom(epd, 0, 1, 0, 0), EBADF);
        EXPECT_FAILS(vorl_fence_mark(epd, 1, &mark), EBADF);
        EXPECT_FAILS(vorl_fence_wait(epd, 1), EBADF);
    }
}

TEST_F(Vorl, NeedsAConnectionForAllThatMovesData) {
    char byte = 0;
    int mark = 0;
    EXPECT_FAILS(vorl_send(near_, &byte, 1, 1), ENOTCONN);
    EXPECT_FAILS(vorl_recv(near_, &byte, 1, 1), ENOTCONN);
    EXPECT_FAILS(vorl_register(near_, &byte, kPage, 0, kBoth, 0), ENOTCONN);
    EXPECT_FAILS(vorl_unregister(near_, 0, kPage), ENOTCONN);
    EXPECT_FAILS(vorl_writeto(near_, 0, 1, 0, 0), ENOTCONN);
    EXPECT_FAILS(vorl_readfrom(near_, 0, 1, 0, 0), ENOTCONN);
    EXPECT_FAILS(vorl_fence_mark(near_, 1, &mark), ENOTCONN);
    EXPECT_FAILS(vorl_fence_wait(near_, 1), ENOTCONN);
}

TEST_F(Vorl, APortBelongsToOneEndpoint) {
    EXPECT_GE(port_, 1024);
    EXPECT_FAILS(vorl_bind(near_, port_), EADDRINUSE);
    EXPECT_FAILS(vorl_bind(listening_, 0), EINVAL);
    EXPECT_EQ(vorl_close(listening_), 0);
    EXPECT_EQ(vorl_bind(near_, port_), port_);
}

TEST_F(Vorl, ListensOnlyWithAPort) {
    EXPECT_FAILS(vorl_listen(near_, 1), EINVAL);
    EXPECT_FAILS(vorl_listen(listening_, 0), EINVAL);
    vorl_portID peer{};
    int epd = 77;
    EXPECT_FAILS(vorl_accept(listening_, &peer, &epd, 0), EINVAL);
    EXPECT_EQ(vorl_listen(listening_, 1), 0);
    EXPECT_FAILS(vorl_listen(listening_, 1), EINVAL);
    EXPECT_FAILS(vorl_accept(listening_, &peer, &epd, 0), EAGAIN);
    EXPECT_FAILS(vorl_accept(listening_, &peer, &epd, 2), EINVAL);
    EXPECT_FAILS(vorl_accept(listening_, nullptr, &epd, 0), EFAULT);
    EXPECT_FAILS(vorl_accept(listening_, &peer, nullptr, 0), EFAULT);
    EXPECT_EQ(epd, 77);
}

TEST_F(Vorl, IsRefusedWhereNobodyListens) {
    vorl_portID peer{0, port_};  // bound, and not listening
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FAILS(vorl_connect(near_, &peer), ECONNREFUSED);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::seconds(3));
    EXPECT_FAILS(vorl_connect(near_, nullptr), EFAULT);
    ASSERT_EQ(vorl_listen(listening_, 1), 0);
    EXPECT_EQ(vorl_connect(near_, &peer), 0);  // the same endpoint may try again
}

TEST_F(Vorl, WaitsALittleForAPeerThatIsAboutToListen) {
    vorl_portID peer{0, port_};
    std::thread later([this] {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        EXPECT_EQ(vorl_listen(listening_, 1), 0);
    });
    EXPECT_EQ(vorl_connect(near_, &peer), 0);
    later.join();
}

TEST_F(Vorl, KnowsTheAddressOfWhoConnects) {
    const int port = vorl_bind(near_, 0);
    Connect();
    EXPECT_EQ(peer_.node, 0);
    EXPECT_EQ(peer_.port, port);
    vorl_portID peer{0, port_};
    EXPECT_FAILS(vorl_connect(near_, &peer), EISCONN);
    EXPECT_FAILS(vorl_connect(listening_, &peer), EOPNOTSUPP);
}

TEST_F(Vorl, MessagesAreAStreamOfBytes) {
    Connect();
    char text[8] = {};
    EXPECT_FAILS(vorl_recv(far_, text, 1, 0), EAGAIN);
    EXPECT_EQ(vorl_send(near_, const_cast<char*>("abc"), 3, VORL_SEND_BLOCK), 3);
    EXPECT_EQ(vorl_send(near_, const_cast<char*>("defgh"), 5, 0), 5);
    EXPECT_EQ(vorl_recv(far_, text, 4, VORL_RECV_BLOCK), 4);
    EXPECT_EQ(std::string(text, 4), "abcd");
    EXPECT_EQ(vorl_recv(far_, text, 4, VORL_RECV_BLOCK), 4);
    EXPECT_EQ(std::string(text, 4), "efgh");
    EXPECT_EQ(vorl_send(near_, nullptr, 0, VORL_SEND_BLOCK), 0);
    EXPECT_EQ(vorl_recv(far_, nullptr, 0, VORL_RECV_BLOCK), 0);
    EXPECT_FAILS(vorl_send(near_, nullptr, 1, 1), EFAULT);
    EXPECT_FAILS(vorl_send(near_, text, -1, 1), EINVAL);
    EXPECT_FAILS(vorl_send(near_, text, 1, 2), EINVAL);
    EXPECT_FAILS(vorl_recv(near_, nullptr, 1, 1), EFAULT);
    EXPECT_FAILS(vorl_recv(near_, text, 1, 4), EINVAL);
}

TEST_F(Vorl, LongMessagesGoBothWaysAtOnce) {
    Connect();
    std::vector<U8> message(1 << 20);
    for (size_t i = 0; i < message.size(); ++i)
        message[i] = static_cast<U8>(i * 7 + i / 251);
    const int length = static_cast<int>(message.size());
    std::vector<std::thread> threads;
    for (const int epd : {near_, far_}) {
        threads.emplace_back([&, epd] {
            EXPECT_EQ(vorl_send(epd, message.data(), length, VORL_SEND_BLOCK), length);
        });
        threads.emplace_back([&, epd] {
            std::vector<U8> received(message.size());
            EXPECT_EQ(vorl_recv(epd, received.data(), length, VORL_RECV_BLOCK), length);
            EXPECT_EQ(received, message);
        });
    }
    for (std::thread& thread : threads)
        thread.join();
}

TEST_F(Vorl, SendingWithoutWaitingStopsWhereThereIsNoRoom) {
    Connect();
    std::vector<U8> message(100000);
    EXPECT_EQ(vorl_send(near_, message.data(), 100000, 0), 65536);
    EXPECT_FAILS(vorl_send(near_, message.data(), 1, 0), EAGAIN);
    EXPECT_EQ(vorl_recv(far_, message.data(), 65536, VORL_RECV_BLOCK), 65536);
    EXPECT_EQ(vorl_send(near_, message.data(), 1, VORL_SEND_BLOCK), 1);
}

TEST_F(Vorl, BothEndsGetTheSameOffsets) {
    Connect();
    const Pages memory = AllocatePages(6, 0);
    for (const int epd : {near_, far_}) {
        EXPECT_EQ(vorl_register(epd, memory.get(), kPage, 0, kBoth, 0), kBase);
        EXPECT_EQ(vorl_register(epd, memory.get() + kPage, 2 * kPage, kBase, kBoth, 0),
                  kBase + 0x1000);
        EXPECT_EQ(vorl_register(epd, memory.get(), kPage, 0x80000, kBoth, VORL_MAP_FIXED), 0x80000);
        EXPECT_FAILS(vorl_register(epd, memory.get(), kPage, 0x80000, kBoth, VORL_MAP_FIXED),
                     EADDRINUSE);
        EXPECT_FAILS(vorl_register(epd, memory.get() + 1, kPage, 0, kBoth, 0), EINVAL);
        EXPECT_FAILS(vorl_unregister(epd, kBase, 2 * kPage), EINVAL);
        EXPECT_EQ(vorl_unregister(epd, kBase, kPage), 0);
    }
}

TEST_F(Vorl, WritesToAndReadsFromThePeersMemory) {
    Connect();
    constexpr size_t kPages = 300;  // more than one request, and more than may be unanswered
    const Pages near = AllocatePages(kPages, 0x11);
    const Pages far = AllocatePages(kPages, 0x22);
    ASSERT_EQ(Register(near_, near, kPages), kBase);
    ASSERT_EQ(Register(far_, far, kPages), kBase);
    EXPECT_EQ(vorl_writeto(near_, kBase, kPages * kPage, kBase, VORL_RMA_SYNC), 0);
    EXPECT_TRUE(IsFilled(far, kPages * kPage, 0x11));
    std::memset(far.get(), 0x33, kPages * kPage);
    EXPECT_EQ(vorl_readfrom(near_, kBase, kPages * kPage, kBase, VORL_RMA_SYNC), 0);
    EXPECT_TRUE(IsFilled(near, kPages * kPage, 0x33));
    // A part, at different places.
    EXPECT_EQ(vorl_writeto(far_, kBase + 100, 3, kBase + 70001, VORL_RMA_SYNC), 0);
    far.get()[5] = 0x44;
    EXPECT_EQ(vorl_readfrom(near_, kBase + 9, 1, kBase + 5, VORL_RMA_SYNC), 0);
    EXPECT_EQ(near.get()[9], 0x44);
    EXPECT_EQ(near.get()[8], 0x33);
    EXPECT_EQ(near.get()[10], 0x33);
}

TEST_F(Vorl, RefusesTransfersOutsideOfWindows) {
    Connect();
    const Pages near = AllocatePages(2, 0x11);
    const Pages far = AllocatePages(2, 0x22);
    ASSERT_EQ(Register(near_, near, 2), kBase);
    ASSERT_EQ(vorl_register(far_, far.get(), kPage, 0, VORL_PROT_READ, 0), kBase);
    const int sync = VORL_RMA_SYNC;
    EXPECT_FAILS(vorl_readfrom(near_, kBase, 2 * kPage, kBase, sync), ENXIO);  // the peer's
    EXPECT_FAILS(vorl_readfrom(near_, kBase, 1, kBase + 4096, sync), ENXIO);
    EXPECT_FAILS(vorl_readfrom(near_, kBase + 8191, 2, kBase, sync), ENXIO);  // the own
    EXPECT_FAILS(vorl_readfrom(near_, kBase, 1, -1, sync), ENXIO);
    EXPECT_FAILS(vorl_readfrom(near_, -1, 1, kBase, sync), ENXIO);
    EXPECT_FAILS(vorl_readfrom(near_, kBase, ~size_t{0}, kBase, sync), ENXIO);
    EXPECT_FAILS(vorl_readfrom(near_, kBase, 2, 0x7FFFFFFFFFFFFFFE, sync), ENXIO);
    EXPECT_FAILS(vorl_writeto(near_, kBase, 1, kBase, sync), EACCES);
    EXPECT_FAILS(vorl_readfrom(far_, kBase, 1, kBase, sync), EACCES);
    EXPECT_FAILS(vorl_writeto(near_, kBase, 0, kBase, sync), EINVAL);
    EXPECT_FAILS(vorl_writeto(near_, kBase, 1, kBase, 1), EINVAL);
    EXPECT_EQ(vorl_readfrom(near_, kBase, 1, kBase, sync), 0);  // the connection is none the worse
}

TEST_F(Vorl, AnUnregisteredWindowIsOutOfReach) {
    Connect();
    const Pages near = AllocatePages(1, 0x11);
    const Pages far = AllocatePages(1, 0x22);
    ASSERT_EQ(Register(near_, near, 1), kBase);
    ASSERT_EQ(Register(far_, far, 1), kBase);
    ASSERT_EQ(vorl_unregister(far_, kBase, kPage), 0);
    EXPECT_FAILS(vorl_writeto(near_, kBase, kPage, kBase, VORL_RMA_SYNC), ENXIO);
    EXPECT_TRUE(IsFilled(far, kPage, 0x22));
}

TEST_F(Vorl, AFenceWaitsForTheOwnTransfers) {
    Connect();
    constexpr size_t kPages = 512;
    const Pages near = AllocatePages(kPages, 0x11);
    const Pages far = AllocatePages(kPages, 0);
    ASSERT_EQ(Register(near_, near, kPages), kBase);
    ASSERT_EQ(Register(far_, far, kPages), kBase);
    for (U8 round = 1; round <= 20; ++round) {
        std::memset(near.get(), round, kPages * kPage);
        EXPECT_EQ(vorl_writeto(near_, kBase, kPages * kPage, kBase, 0), 0);
        int mark = 0;
        EXPECT_EQ(vorl_fence_mark(near_, VORL_FENCE_INIT_SELF, &mark), 0);
        EXPECT_EQ(vorl_fence_wait(near_, mark), 0);
        EXPECT_TRUE(IsFilled(far, kPages * kPage, round));
        EXPECT_FAILS(vorl_fence_wait(near_, mark), EINVAL);  // a mark is good for one wait
    }
}

TEST_F(Vorl, AFenceWaitsForWhatThePeerHasBegun) {
    Connect();
    constexpr size_t kPages = 512;
    const Pages near = AllocatePages(kPages, 0);
    const Pages far = AllocatePages(kPages, 0);
    ASSERT_EQ(Register(near_, near, kPages), kBase);
    ASSERT_EQ(Register(far_, far, kPages), kBase);
    std::thread peer([&] {
        for (U8 round = 1; round <= 20; ++round) {
            std::memset(far.get(), round, kPages * kPage);
            EXPECT_EQ(vorl_writeto(far_, kBase, kPages * kPage, kBase, 0), 0);
            EXPECT_EQ(Message(far_, round), 4);  // may overtake the transfer
            EXPECT_EQ(NextMessage(far_), round);
        }
    });
    for (U8 round = 1; round <= 20; ++round) {
        EXPECT_EQ(NextMessage(near_), round);
        int mark = 0;
        EXPECT_EQ(vorl_fence_mark(near_, VORL_FENCE_INIT_PEER, &mark), 0);
        EXPECT_EQ(vorl_fence_wait(near_, mark), 0);
        EXPECT_TRUE(IsFilled(near, kPages * kPage, round)) << static_cast<int>(round);
        EXPECT_EQ(Message(near_, round), 4);
    }
    peer.join();
}

TEST_F(Vorl, AFenceTellsOfTransfersThatFailed) {
    Connect();
    const Pages near = AllocatePages(1, 0);
    ASSERT_EQ(Register(near_, near, 1), kBase);
    int first = 0;
    int second = 0;
    EXPECT_EQ(vorl_writeto(near_, kBase, 1, 0x1000, 0), 0);
    EXPECT_EQ(vorl_fence_mark(near_, VORL_FENCE_INIT_SELF, &first), 0);
    EXPECT_EQ(vorl_fence_mark(near_, VORL_FENCE_INIT_SELF, &second), 0);
    EXPECT_FAILS(vorl_fence_wait(near_, first), ENXIO);
    EXPECT_EQ(vorl_fence_wait(near_, second), 0);  // told once
}

TEST_F(Vorl, MarksHaveALimit) {
    Connect();
    std::vector<int> marks(17);
    for (int i = 0; i < 16; ++i)
        EXPECT_EQ(vorl_fence_mark(near_, i % 2 == 0 ? VORL_FENCE_INIT_SELF : VORL_FENCE_INIT_PEER,
                                  &marks[static_cast<size_t>(i)]),
                  0);
    EXPECT_FAILS(vorl_fence_mark(near_, VORL_FENCE_INIT_SELF, &marks[16]), ENOBUFS);
    for (size_t i = 16; i-- > 0;)
        EXPECT_EQ(vorl_fence_wait(near_, marks[i]), 0);
    EXPECT_EQ(vorl_fence_mark(near_, VORL_FENCE_INIT_PEER, &marks[16]), 0);
    EXPECT_EQ(vorl_fence_wait(near_, marks[16]), 0);
    EXPECT_FAILS(vorl_fence_mark(near_, 3, &marks[0]), EINVAL);
    EXPECT_FAILS(vorl_fence_mark(near_, 1, nullptr), EFAULT);
    EXPECT_FAILS(vorl_fence_wait(near_, 12345), EINVAL);
}

TEST_F(Vorl, TransfersTakeEffectInTheirOrder) {
    Connect();
    const Pages near = AllocatePages(64, 0);
    const Pages far = AllocatePages(32, 0);
    ASSERT_EQ(Register(near_, near, 64), kBase);
    ASSERT_EQ(Register(far_, far, 32), kBase);
    constexpr size_t kHalf = 32 * kPage;
    for (U8 round = 1; round <= 30; ++round) {
        // What is read is what the write before it left, not what the write behind it brings.
        std::memset(near.get(), round, kHalf);
        EXPECT_EQ(vorl_writeto(near_, kBase, kHalf, kBase, 0), 0);
        EXPECT_EQ(vorl_readfrom(near_, kBase + static_cast<off_t>(kHalf), kHalf, kBase, 0), 0);
        EXPECT_EQ(vorl_writeto(near_, kBase, kHalf / 2, kBase + static_cast<off_t>(kHalf / 2), 0),
                  0);
        int mark = 0;
        ASSERT_EQ(vorl_fence_mark(near_, VORL_FENCE_INIT_SELF, &mark), 0);
        ASSERT_EQ(vorl_fence_wait(near_, mark), 0);
        EXPECT_TRUE(std::all_of(near.get() + kHalf, near.get() + 2 * kHalf,
                                [=](U8 byte) { return byte == round; }));
    }
}

TEST_F(Vorl, LargeTransfersGoBothWaysAtOnce) {
    Connect();
    constexpr size_t kPages = 4096;
    const Pages near = AllocatePages(2 * kPages, 0x11);
    const Pages far = AllocatePages(2 * kPages, 0x22);
    ASSERT_EQ(Register(near_, near, 2 * kPages), kBase);
    ASSERT_EQ(Register(far_, far, 2 * kPages), kBase);
    constexpr off_t kHalf = static_cast<off_t>(kPages * kPage);
    std::vector<std::thread> threads;
    for (const int epd : {near_, far_}) {
        threads.emplace_back([epd] {
            EXPECT_EQ(vorl_writeto(epd, kBase, kPages * kPage, kBase + kHalf, VORL_RMA_SYNC), 0);
        });
        threads.emplace_back([epd] {
            for (int i = 0; i < 200; ++i) {
                EXPECT_EQ(Message(epd, i), 4);
                EXPECT_EQ(NextMessage(epd), i);
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(near.get()[kHalf], 0x22);
    EXPECT_EQ(far.get()[kHalf], 0x11);
    EXPECT_TRUE(IsFilled(near, kPages * kPage, 0x11));
}

TEST_F(Vorl, WhatWasSentBeforeTheEndStillArrives) {
    Connect();
    EXPECT_EQ(Message(near_, 42), 4);
    EXPECT_EQ(vorl_close(near_), 0);
    EXPECT_EQ(NextMessage(far_), 42);
    char byte = 0;
    int mark = 0;
    EXPECT_FAILS(vorl_recv(far_, &byte, 1, VORL_RECV_BLOCK), ECONNRESET);
    EXPECT_FAILS(vorl_recv(far_, &byte, 1, 0), ECONNRESET);
    EXPECT_FAILS(vorl_send(far_, &byte, 1, VORL_SEND_BLOCK), ECONNRESET);
    EXPECT_FAILS(vorl_fence_mark(far_, VORL_FENCE_INIT_PEER, &mark), ECONNRESET);
    const Pages memory = AllocatePages(1, 0);
    ASSERT_EQ(Register(far_, memory, 1), kBase);
    EXPECT_FAILS(vorl_writeto(far_, kBase, 1, kBase, VORL_RMA_SYNC), ECONNRESET);
}

TEST_F(Vorl, APartOfAMessageIsReceivedBeforeTheEnd) {
    Connect();
    EXPECT_EQ(Message(near_, 42), 4);
    EXPECT_EQ(vorl_close(near_), 0);
    char text[8];
    EXPECT_EQ(vorl_recv(far_, text, 8, VORL_RECV_BLOCK), 4);
}

// The peer closes while this end waits in each operation that waits.
TEST_F(Vorl, EveryWaitEndsWithThePeer) {
    Connect();
    const Pages memory = AllocatePages(4096, 0);
    ASSERT_EQ(Register(near_, memory, 4096), kBase);
    ASSERT_EQ(Register(far_, memory, 4096), kBase);
    std::thread receiving([this] {
        char byte = 0;
        EXPECT_FAILS(vorl_recv(near_, &byte, 1, VORL_RECV_BLOCK), ECONNRESET);
    });
    std::thread sending([this] {
        std::vector<U8> message(1 << 20);
        EXPECT_FAILS(vorl_send(near_, message.data(), 1 << 20, VORL_SEND_BLOCK), ECONNRESET);
    });
    std::thread transferring([this] {
        while (vorl_writeto(near_, kBase, 4096 * kPage, kBase, VORL_RMA_SYNC) == 0) {
        }
        EXPECT_EQ(errno, ECONNRESET);
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_EQ(vorl_close(far_), 0);
    receiving.join();
    sending.join();
    transferring.join();
}

TEST_F(Vorl, EveryWaitEndsWithTheOwnEndpoint) {
    Connect();
    const int second = vorl_open();
    ASSERT_GE(vorl_bind(second, 0), 0);
    ASSERT_EQ(vorl_listen(second, 1), 0);
    std::thread receiving([this] {
        char byte = 0;
        EXPECT_FAILS(vorl_recv(near_, &byte, 1, VORL_RECV_BLOCK), EBADF);
    });
    std::thread accepting([second] {
        vorl_portID peer{};
        int epd = -1;
        EXPECT_FAILS(vorl_accept(second, &peer, &epd, VORL_ACCEPT_SYNC), EBADF);
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_EQ(vorl_close(near_), 0);
    EXPECT_EQ(vorl_close(second), 0);
    receiving.join();
    accepting.join();
}

// Nobody listens there: the connection is tried again until the endpoint is closed.
TEST_F(Vorl, ClosingEndsAnAttemptToConnect) {
    const int epd = vorl_open();
    std::thread connecting([this, epd] {
        vorl_portID nobody{0, port_};
        EXPECT_FAILS(vorl_connect(epd, &nobody), EBADF);
    });
    while (!HasPort(epd))  // the first attempt gives it one
        std::this_thread::yield();
    EXPECT_EQ(vorl_close(epd), 0);
    connecting.join();
}

// Memory is the caller's again as soon as the endpoint is closed, whatever is under way.
TEST_F(Vorl, ClosingEndsWhatThePeerIsDoing) {
    Connect();
    Pages near = AllocatePages(1024, 0);
    const Pages far = AllocatePages(1024, 0x55);
    ASSERT_EQ(Register(near_, near, 1024), kBase);
    ASSERT_EQ(Register(far_, far, 1024), kBase);
    std::thread peer([this] {
        while (vorl_writeto(far_, kBase, 1024 * kPage, kBase, VORL_RMA_SYNC) == 0) {
        }
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_EQ(vorl_close(near_), 0);
    near.reset();
    peer.join();
}

TEST_F(Vorl, UnregisteringEndsWhatThePeerIsDoing) {
    Connect();
    Pages near = AllocatePages(1024, 0);
    const Pages far = AllocatePages(1024, 0x55);
    ASSERT_EQ(Register(near_, near, 1024), kBase);
    ASSERT_EQ(Register(far_, far, 1024), kBase);
    std::thread peer([this] {
        while (vorl_writeto(far_, kBase, 1024 * kPage, kBase, VORL_RMA_SYNC) == 0) {
        }
        EXPECT_EQ(errno, ENXIO);
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_EQ(vorl_unregister(near_, kBase, 1024 * kPage), 0);
    near.reset();
    peer.join();
}

struct Waiting {
    int epd;
    int (*wait)(int epd);
};

void* RunWaiting(void* argument) {
    const Waiting waiting = *static_cast<Waiting*>(argument);
    pthread_setcanceltype(PTHREAD_CANCEL_ASYNCHRONOUS, nullptr);
    waiting.wait(waiting.epd);
    return nullptr;
}

TEST_F(Vorl, AThreadIsCancelledWhereItWaits) {
    Connect();
    Waiting waits[] = {{near_,
                        [](int epd) {
                            char byte = 0;
                            return vorl_recv(epd, &byte, 1, VORL_RECV_BLOCK);
                        }},
                       {listening_, [](int epd) {
                            vorl_portID peer{};
                            int accepted = -1;
                            return vorl_accept(epd, &peer, &accepted, VORL_ACCEPT_SYNC);
                        }}};
    for (Waiting& waiting : waits) {
        for (int round = 0; round < 50; ++round) {
            pthread_t thread{};
            ASSERT_EQ(pthread_create(&thread, nullptr, RunWaiting, &waiting), 0);
            std::this_thread::sleep_for(std::chrono::microseconds(round * 20));
            ASSERT_EQ(pthread_cancel(thread), 0);
            void* result = nullptr;
            ASSERT_EQ(pthread_join(thread, &result), 0);
            ASSERT_EQ(result, PTHREAD_CANCELED);
        }
    }
    EXPECT_EQ(Message(far_, 5), 4);  // no lock is left behind
    EXPECT_EQ(NextMessage(near_), 5);
}

TEST_F(Vorl, HundredsOfConnectionsInARow) {
    ASSERT_EQ(vorl_listen(listening_, 4), 0);
    for (int round = 0; round < 500; ++round) {
        const int epd = vorl_open();
        vorl_portID peer{0, port_};
        ASSERT_EQ(vorl_connect(epd, &peer), 0);
        int accepted = -1;
        ASSERT_EQ(vorl_accept(listening_, &peer, &accepted, VORL_ACCEPT_SYNC), 0);
        ASSERT_EQ(Message(epd, round), 4);
        ASSERT_EQ(NextMessage(accepted), round);
        ASSERT_EQ(vorl_close(epd), 0);
        ASSERT_EQ(vorl_close(accepted), 0);
    }
}

}  // namespace
