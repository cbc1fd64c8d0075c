// The card's programs against hosts that the test plays: what they check, and what they make of a
// host that breaks off.
#include <gmock/gmock.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

#include "CardProgram.h"
#include "vorl.h"

namespace {

using ::testing::HasSubstr;
using ::testing::Not;

constexpr U16 kPort = 130;
constexpr size_t kPage = VORL_PAGE_BYTES;
constexpr size_t kPages = 2;
constexpr size_t kWords = kPages * kPage / sizeof(U32);
constexpr off_t kBase = 0x80000000;
constexpr char kArguments[] = "1 2 0 0 0";  // two buffers of a page, one behind the other

// The host of an exchange, step by step; its two windows are one piece of memory.
class Host {
public:
    Host() : words_(static_cast<U32*>(std::aligned_alloc(kPage, kPages * kPage))) {}
    ~Host() {
        Close();
        std::free(words_);
    }
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

    void Close() {
        for (int* const epd : {&epd_, &listening_}) {
            if (*epd >= 0)
                vorl_close(*epd);
            *epd = -1;
        }
    }
    void Connect() {
        epd_ = vorl_open();
        ASSERT_EQ(vorl_bind(epd_, kPort), kPort);
        vorl_portID card{1, kPort};
        ASSERT_EQ(vorl_connect(epd_, &card), 0);
    }
    void Listen() {
        listening_ = vorl_open();
        ASSERT_EQ(vorl_bind(listening_, kPort), kPort);
        ASSERT_EQ(vorl_listen(listening_, 1), 0);
    }
    void Accept() {
        vorl_portID peer{};
        ASSERT_EQ(vorl_accept(listening_, &peer, &epd_, VORL_ACCEPT_SYNC), 0);
        EXPECT_EQ(peer.node, 1);
        EXPECT_EQ(peer.port, kPort);
    }
    void Register() {
        for (size_t page = 0; page < kPages; ++page) {
            ASSERT_EQ(vorl_register(epd_, words_ + page * kPage / sizeof(U32), kPage, 0,
                                    VORL_PROT_READ | VORL_PROT_WRITE, 0),
                      kBase + static_cast<off_t>(page * kPage));
        }
    }
    void Fill(U8 byte) { std::memset(words_, byte, kPages * kPage); }
    bool IsFilled(U32 word) const {
        return std::all_of(words_, words_ + kWords, [=](U32 value) { return value == word; });
    }
    U32& Word(size_t index) { return words_[index]; }
    bool Meet() {
        int message = 0;
        return vorl_send(epd_, &message, 4, VORL_SEND_BLOCK) == 4 &&
               vorl_recv(epd_, &message, 4, VORL_RECV_BLOCK) == 4;
    }
    void Transfer(int (*operation)(int, off_t, size_t, off_t, int)) {
        for (size_t page = 0; page < kPages; ++page) {
            const off_t offset = kBase + static_cast<off_t>(page * kPage);
            EXPECT_EQ(operation(epd_, offset, kPage, offset, VORL_RMA_SYNC), 0);
        }
    }

private:
    U32* words_;
    int epd_ = -1;
    int listening_ = -1;
};

struct WrongWord {
    size_t word;  // counted over both buffers
    const char* place;
};

void PrintTo(const WrongWord& wrong, std::ostream* out) {
    *out << wrong.place;
}

class CardPeer : public ::testing::TestWithParam<WrongWord> {};

TEST_P(CardPeer, AcceptingSeesAWrongWord) {
    CardProgram card("vorl_accept_dma_zel_er1x", kArguments);
    Host host;
    host.Fill(0);
    host.Connect();
    host.Register();
    EXPECT_TRUE(host.Meet());
    EXPECT_TRUE(host.Meet());
    EXPECT_TRUE(host.IsFilled(0xADADADAD));
    host.Fill(0xAC);
    host.Word(GetParam().word) ^= 0x100;
    EXPECT_TRUE(host.Meet());
    EXPECT_FALSE(host.Meet());
    EXPECT_EQ(card.Await(), 1);
    EXPECT_THAT(card.Output(), HasSubstr(std::string(GetParam().place) +
                                         ": expected 0xacacacac, found 0xacacadac\n"));
    EXPECT_THAT(card.Output(), Not(HasSubstr("success")));
}

TEST_P(CardPeer, ConnectingSeesAWrongWord) {
    Host host;
    host.Listen();
    CardProgram card("vorl_connect_dma_zel_er1x", kArguments);
    host.Accept();
    host.Register();
    EXPECT_TRUE(host.Meet());
    host.Fill(0xAD);
    host.Word(GetParam().word) = 0;
    host.Transfer(vorl_writeto);
    EXPECT_TRUE(host.Meet());
    EXPECT_FALSE(host.Meet());
    EXPECT_EQ(card.Await(), 1);
    EXPECT_THAT(card.Output(), HasSubstr(std::string(GetParam().place) +
                                         ": expected 0xadadadad, found 0x00000000\n"));
    EXPECT_THAT(card.Output(), Not(HasSubstr("success")));
}

INSTANTIATE_TEST_SUITE_P(Places, CardPeer,
                         ::testing::Values(WrongWord{0, "buffer 0 word 0"},
                                           WrongWord{1023, "buffer 0 word 1023"},
                                           WrongWord{1024, "buffer 1 word 0"},
                                           WrongWord{1500, "buffer 1 word 476"},
                                           WrongWord{2047, "buffer 1 word 1023"}));

// For a host that does not close its end the program waits a while.
TEST(CardPeerEnds, ConnectingGivesItsReplyAndLetsTheHostEndFirst) {
    for (const bool hostEnds : {true, false}) {
        Host host;
        host.Listen();
        CardProgram card("vorl_connect_dma_zel_er1x", kArguments);
        host.Accept();
        host.Register();
        EXPECT_TRUE(host.Meet());
        host.Fill(0xAD);
        host.Transfer(vorl_writeto);
        EXPECT_TRUE(host.Meet());
        EXPECT_TRUE(host.Meet());
        host.Transfer(vorl_readfrom);
        EXPECT_TRUE(host.IsFilled(0xACACACAC));
        EXPECT_TRUE(host.Meet());
        EXPECT_TRUE(host.Meet());
        usleep(300'000);
        EXPECT_TRUE(card.Runs());
        if (hostEnds)
            host.Close();
        EXPECT_EQ(card.Await(), 0);
        EXPECT_EQ(card.Output(), "ZelVorlConnectDMA Test success\n\n");
    }
}

// A host that breaks off after each of the meetings.
TEST(CardPeerEnds, NeitherSucceedsWithoutTheHostsLastWord) {
    for (int meetings = 0; meetings < 5; ++meetings) {
        CardProgram card("vorl_accept_dma_zel_er1x", kArguments);
        Host host;
        host.Fill(0xAC);
        host.Connect();
        host.Register();
        for (int meeting = 0; meeting < meetings; ++meeting) {
            EXPECT_TRUE(host.Meet());
            if (meeting == 1)
                host.Fill(0xAC);
        }
        host.Close();
        EXPECT_EQ(card.Await(), 1) << meetings;
        EXPECT_THAT(card.Output(), HasSubstr("ZelVorlAcceptDMA Test failed\n\n"));
        EXPECT_THAT(card.Output(), Not(HasSubstr("success")));
    }
    for (int meetings = 0; meetings < 5; ++meetings) {
        Host host;
        host.Listen();
        CardProgram card("vorl_connect_dma_zel_er1x", kArguments);
        host.Accept();
        host.Register();
        host.Fill(0xAD);
        for (int meeting = 0; meeting < meetings; ++meeting) {
            EXPECT_TRUE(host.Meet());
            if (meeting == 0)
                host.Transfer(vorl_writeto);
        }
        host.Close();
        EXPECT_EQ(card.Await(), 1) << meetings;
        EXPECT_THAT(card.Output(), HasSubstr("ZelVorlConnectDMA Test failed\n\n"));
    }
}

TEST(CardPeerEnds, APortThatIsTakenFailsTheSecondProgram) {
    CardProgram first("vorl_accept_dma_zel_er1x", kArguments);
    Host host;
    host.Connect();  // the first has the port by now
    CardProgram second("vorl_accept_dma_zel_ev1x", kArguments);
    EXPECT_EQ(second.Await(), 1);
    EXPECT_EQ(second.Output(),
              "ZelVorlAcceptDMA: vorl_bind: Address already in use\n"
              "ZelVorlAcceptDMA Test failed\n\n");
    host.Close();
    EXPECT_EQ(first.Await(), 1);
}

// Waits until the card's program has the port.
void AwaitPort() {
    for (;;) {
        std::ifstream sockets("/proc/net/unix");
        for (std::string line; std::getline(sockets, line);) {
            if (line.ends_with("@zelsim-vorl-1-130"))
                return;
        }
        usleep(1000);
    }
}

TEST(CardPeerEnds, TakesAPortThatBecomesFree) {
    CardProgram first("vorl_accept_dma_zel_er1x", kArguments);
    AwaitPort();
    CardProgram second("vorl_accept_dma_zel_er1x", kArguments);
    usleep(200'000);
    first.Kill();
    Host host;
    host.Connect();
    host.Register();
    EXPECT_TRUE(host.Meet());
}

// A folder of its own for a copy of each of the programs.
class SentPrograms : public ::testing::Test {
protected:
    SentPrograms() {
        std::string pattern = std::filesystem::temp_directory_path() / "zeldiag-card-XXXXXX";
        if (mkdtemp(pattern.data()) == nullptr)
            throw std::runtime_error("mkdtemp");
        folder_ = pattern + "/";
    }
    ~SentPrograms() override { std::filesystem::remove_all(folder_); }

    void Send(const std::string& program) {
        std::filesystem::remove(folder_ + program);
        std::filesystem::copy_file(CARD_PROGRAMS + program, folder_ + program);
    }

    std::string folder_;
};

TEST_F(SentPrograms, EndAProgramThatWaitsForItsHost) {
    for (const std::string name : {"vorl_accept_dma_zel_er1x", "vorl_accept_dma_zel_ev1x",
                                   "vorl_connect_dma_zel_er1x", "vorl_connect_dma_zel_ev1x"}) {
        Send("vorl_accept_dma_zel_er1x");
        CardProgram card("vorl_accept_dma_zel_er1x", kArguments, folder_);
        AwaitPort();
        Send(name);
        EXPECT_EQ(card.Await(), 1);
        EXPECT_EQ(card.Output(),
                  "ZelVorlAcceptDMA: the host has sent another program\n"
                  "ZelVorlAcceptDMA Test failed\n\n")
            << name;
    }
}

TEST_F(SentPrograms, EndAProgramThatTriesToConnect) {
    Send("vorl_connect_dma_zel_er1x");
    CardProgram card("vorl_connect_dma_zel_er1x", kArguments, folder_);
    AwaitPort();
    Send("vorl_accept_dma_zel_er1x");
    EXPECT_EQ(card.Await(), 1);
    EXPECT_EQ(card.Output(),
              "ZelVorlConnectDMA: the host has sent another program\n"
              "ZelVorlConnectDMA Test failed\n\n");
}

// Also it leaves its file where it is, unless that is where the host puts it.
TEST_F(SentPrograms, DoNotDisturbWhenTheyWereThereBefore) {
    for (const char* const name : {"vorl_accept_dma_zel_er1x", "vorl_connect_dma_zel_er1x"})
        Send(name);
    CardProgram card("vorl_accept_dma_zel_er1x", kArguments, folder_);
    AwaitPort();
    usleep(100'000);
    Host host;
    host.Connect();
    host.Register();
    EXPECT_TRUE(host.Meet());
    EXPECT_TRUE(std::filesystem::exists(folder_ + "vorl_accept_dma_zel_er1x"));
}

// A program whose tool was killed has nobody to wait for.
TEST(CardPeerEnds, EndsWithItsCallerWhereverItIs) {
    for (const char* const name : {"vorl_accept_dma_zel_er1x", "vorl_connect_dma_zel_er1x"}) {
        CardProgram card(name, kArguments);  // no host comes
        usleep(50'000);
        card.EndInput();
        EXPECT_EQ(card.Await(), 3) << name;
        EXPECT_EQ(card.Output(), "the caller has gone: standard input has ended\n");
    }
    CardProgram card("vorl_accept_dma_zel_er1x", kArguments);
    Host host;
    host.Connect();
    host.Register();
    EXPECT_TRUE(host.Meet());
    card.EndInput();
    EXPECT_EQ(card.Await(), 3);
}

TEST(CardPeerEnds, SendsAwayWhoIsNotTheHost) {
    CardProgram card("vorl_accept_dma_zel_er1x", "1 2 0 0 9");
    Host host;
    host.Connect();
    EXPECT_FALSE(host.Meet());
    card.Kill();
}

TEST(CardPeerEnds, RefusesArgumentsThatMakeNoSense) {
    for (const char* const program : {"vorl_accept_dma_zel_er1x", "vorl_connect_dma_zel_ev1x"}) {
        for (const char* const arguments :
             {"", "1 1 0 0", "1 1 0 0 0 0", "0 1 0 0 0", "1 0 0 0 0", "16385 1 0 0 0",
              "16384 2 0 0 0", "4294967296 1 0 0 0", "-1 1 0 0 0", "1 1 2 0 0", "1 1 0 2 0",
              "1 1 0 0 65536", "x 1 0 0 0", "1x 1 0 0 0", "1 1 0 0 ''"}) {
            CardProgram card(program, arguments);
            EXPECT_EQ(card.Await(), 2) << program << " " << arguments;
            EXPECT_THAT(card.Output(), HasSubstr("expected: PAGES BUFFERS"));
        }
    }
}

}  // namespace
