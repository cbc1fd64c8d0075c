// One end of a connection against a hostile peer. The first byte of the input says what this end has
// begun by itself and whether the peer waits for answers; the rest is what the peer sends, byte for
// byte.
//
// Whatever comes, only the windows are touched (see GuardedWindows.h), what cannot be read is never
// sent, and only whole frames are. A peer that waits gets exactly the answers of the model, and loses
// the connection exactly where the model says so.
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <optional>
#include <span>
#include <vector>

#include "common/UniqueFd.h"
#include "support/Expect.h"
#include "support/GuardedWindows.h"
#include "support/PeerModel.h"
#include "vorl/Connection.h"

namespace {

using fuzz::Bytes;
using fuzz::Expect;
using fuzz::ExpectEqual;
using fuzz::Frame;
using fuzz::GuardedWindows;
using Input = std::span<const std::byte>;

// Bits of the first byte.
enum Script : unsigned {
    kHasty = 1,  // the peer sends everything without a look at the answers
    kOwnWrite = 2,
    kOwnRead = 4,
    kOwnMessage = 8,
    kOwnFence = 16
};

constexpr int kLost = -ECONNRESET;

constexpr U64 kWriteFrom = GuardedWindows::kReadable + 96;
constexpr U64 kReadTo = GuardedWindows::kOpen + VORL_PAGE_BYTES - 40;
constexpr U32 kOwnBytes = 80;
constexpr U64 kRemote = 0x1000;

// The peer's end of the socket. It waits without end for what must come: who runs the target sees to
// that. Signals interrupt its waiting, because libFuzzer looks at the time with them.
class Peer {
public:
    explicit Peer(platform::UniqueFd socket) : socket_(std::move(socket)) {}

    // What a connection that has ended does not take is lost.
    void Send(Input bytes) {
        while (!bytes.empty()) {
            const ssize_t sent = send(socket_.Get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
            if (sent < 0 && errno == EINTR)
                continue;
            if (sent <= 0)
                return;
            bytes = bytes.subspan(static_cast<std::size_t>(sent));
        }
    }
    void EndSending() { shutdown(socket_.Get(), SHUT_WR); }

    // The next frame; nothing when the connection has ended.
    std::optional<Frame> Receive() {
        vorl::HeaderBytes bytes;
        if (!ReceiveAll(bytes))
            return std::nullopt;
        const auto header = vorl::DecodeHeader(bytes);
        Expect(header.has_value(), "only frames are sent");
        Frame frame{*header, Bytes(PayloadBytes(*header))};
        if (!ReceiveAll(frame.payload))
            return std::nullopt;
        const std::span secret(GuardedWindows::kSecret);
        Expect(std::search(frame.payload.begin(), frame.payload.end(), secret.begin(),
                           secret.end()) == frame.payload.end(),
               "what cannot be read is not sent");
        return frame;
    }

private:
    bool ReceiveAll(std::span<std::byte> bytes) {
        while (!bytes.empty()) {
            const ssize_t received = recv(socket_.Get(), bytes.data(), bytes.size(), 0);
            if (received < 0 && errno == EINTR)
                continue;
            if (received <= 0)
                return false;
            bytes = bytes.subspan(static_cast<std::size_t>(received));
        }
        return true;
    }

    platform::UniqueFd socket_;
};

// One end, its peer and the model of it.
class Exchange {
public:
    Exchange(const GuardedWindows& windows, platform::UniqueFd own, platform::UniqueFd peers)
        : windows_(windows),
          socket_(std::move(own)),
          peer_(std::move(peers)),
          connection_(socket_.Get()) {}

    vorl::Connection& End() { return connection_; }

    void Begin(unsigned script) {
        std::vector<Frame> begun;
        if ((script & kOwnWrite) != 0)
            begun.push_back(BeginWrite());
        if ((script & kOwnRead) != 0)
            begun.push_back(BeginRead());
        if ((script & kOwnMessage) != 0)
            begun.push_back(SendMessage());
        if ((script & kOwnFence) != 0)
            begun.push_back(MarkPeer());
        ExpectFrames(begun);
    }

    // Sends everything at once.
    void SendHastily(Input input) {
        peer_.Send(input);
        peer_.EndSending();
        while (peer_.Receive()) {
        }
    }

    // Sends a frame at a time; bytes that are none, or not a whole one, come last.
    void SendPatiently(Input input) {
        while (const auto frame = TakeFrame(input)) {
            peer_.Send(vorl::EncodeHeader(frame->header));
            peer_.Send(frame->payload);
            const auto answers = model_.Take(*frame);
            if (!answers)
                break;
            for (const Frame& answer : *answers) {
                const auto received = peer_.Receive();
                Expect(received.has_value(), "a frame within the protocol is answered");
                Expect(*received == answer, "a frame gets its own answer");
            }
        }
        peer_.Send(input);
        peer_.EndSending();
        Expect(!peer_.Receive(), "nothing else is sent, and the connection ends");
    }

    // The connection has ended.
    void CheckOwner(bool patient) {
        Bytes received(vorl::kMessageWindow + 1);
        const int count = connection_.Receive(received, true);
        Expect(count > 0 || count == kLost, "the owner receives bytes or learns of the loss");
        received.resize(static_cast<std::size_t>(std::max(count, 0)));
        if (patient)
            Expect(received == model_.Messages(), "the owner receives what the peer has sent");
        std::byte byte{};
        ExpectEqual(connection_.Receive({&byte, 1}, true), kLost, "what receiving gives then");
        ExpectEqual(connection_.Send({&byte, 1}, true), kLost, "what sending gives then");
        int mark = 0;
        ExpectEqual(connection_.MarkPeer(&mark), kLost, "what marking gives then");
        connection_.Close();
    }

    void CheckWindows() const {
        Expect(std::ranges::equal(windows_.Open(), model_.Open()),
               "the open window is as modelled");
        Expect(std::ranges::equal(windows_.Writable(), model_.Writable()),
               "the writable window is as modelled");
    }

private:
    Frame BeginWrite() {
        ExpectEqual(connection_.TransferBytes({.direction = vorl::Direction::ToPeer,
                                               .local = kWriteFrom,
                                               .remote = kRemote,
                                               .length = kOwnBytes}),
                    0, "the beginning of a write");
        return model_.BeginWrite(kWriteFrom, kOwnBytes, kRemote);
    }
    Frame BeginRead() {
        ExpectEqual(connection_.TransferBytes({.direction = vorl::Direction::FromPeer,
                                               .local = kReadTo,
                                               .remote = kRemote,
                                               .length = kOwnBytes}),
                    0, "the beginning of a read");
        return model_.BeginRead(kReadTo, kOwnBytes, kRemote);
    }
    Frame SendMessage() {
        const Bytes message(kOwnBytes, std::byte{0x33});
        ExpectEqual(connection_.Send(message, true), static_cast<int>(kOwnBytes),
                    "the sending of a message");
        return model_.SendMessage(message);
    }
    Frame MarkPeer() {
        int mark = 0;
        ExpectEqual(connection_.MarkPeer(&mark), 0, "the marking of a fence");
        return model_.MarkPeer();
    }

    // In any order: they are sent by another thread.
    void ExpectFrames(std::vector<Frame> frames) {
        while (!frames.empty()) {
            const auto received = peer_.Receive();
            Expect(received.has_value(), "what was begun is sent");
            const auto found = std::find(frames.begin(), frames.end(), *received);
            Expect(found != frames.end(), "what is sent was begun");
            frames.erase(found);
        }
    }

    // Takes a whole frame off the front of the input.
    static std::optional<Frame> TakeFrame(Input& input) {
        if (input.size() < vorl::kHeaderBytes)
            return std::nullopt;
        const auto header = vorl::DecodeHeader(input.first(vorl::kHeaderBytes));
        if (!header || input.size() - vorl::kHeaderBytes < PayloadBytes(*header))
            return std::nullopt;
        const Input payload = input.subspan(vorl::kHeaderBytes, PayloadBytes(*header));
        input = input.subspan(vorl::kHeaderBytes + payload.size());
        return Frame{*header, {payload.begin(), payload.end()}};
    }

    const GuardedWindows& windows_;
    platform::UniqueFd socket_;
    Peer peer_;
    vorl::Connection connection_;
    fuzz::PeerModel model_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0)
        return 0;
    const unsigned script = data[0];
    const Input input = std::as_bytes(std::span(data, size)).subspan(1);
    int ends[2];
    ExpectEqual(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0, "the socket pair");
    static GuardedWindows windows;
    Exchange exchange(windows, platform::UniqueFd(ends[0]), platform::UniqueFd(ends[1]));
    windows.Register(exchange.End());

    const bool patient = (script & kHasty) == 0;
    exchange.Begin(script);
    if (patient)
        exchange.SendPatiently(input);
    else
        exchange.SendHastily(input);
    exchange.CheckOwner(patient);
    if (patient)
        exchange.CheckWindows();
    return 0;
}
