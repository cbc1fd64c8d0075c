// The common half of the card's DMA programs.
#include "Peer.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <limits>
#include <string_view>
#include <utility>

#include "../CallerWatch.h"

namespace peer {
namespace {

constexpr int kPassed = 0;
constexpr int kFailed = 1;
constexpr int kMisused = 2;

constexpr size_t kMaxBytes = size_t{64} * 1024 * 1024;
constexpr off_t kFixedOffset = 0x80000;
constexpr int kPortPauses = 2 * Folder::kPausesPerSecond;

constexpr const char* kPrograms[] = {"vorl_accept_dma_zel_er1x", "vorl_accept_dma_zel_ev1x",
                                     "vorl_connect_dma_zel_er1x", "vorl_connect_dma_zel_ev1x"};

// The number that is the whole text and at most `limit`.
std::optional<unsigned> ParseNumber(std::string_view text, unsigned limit) {
    unsigned number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size() || number > limit)
        return std::nullopt;
    return number;
}

U32 WordOf(U8 byte) {
    return byte * U32{0x01010101};
}

}  // namespace

Failure LibraryFailure(const std::string& what) {
    return Failure(what + ": " + std::strerror(errno));
}

std::optional<Shape> ParseShape(int argc, char** argv) {
    if (argc != 6)
        return std::nullopt;
    constexpr unsigned kMaxPages = kMaxBytes / VORL_PAGE_BYTES;
    const auto pages = ParseNumber(argv[1], kMaxPages);
    const auto buffers = ParseNumber(argv[2], kMaxPages);
    const auto fixedOffsets = ParseNumber(argv[3], 1);
    const auto keepRegistered = ParseNumber(argv[4], 1);
    const auto node = ParseNumber(argv[5], std::numeric_limits<U16>::max());
    if (!pages || !buffers || !fixedOffsets || !keepRegistered || !node)
        return std::nullopt;
    if (*pages == 0 || *buffers == 0 || *pages > kMaxPages / *buffers)
        return std::nullopt;
    return Shape{.bufferBytes = *pages * VORL_PAGE_BYTES,
                 .buffers = *buffers,
                 .fixedOffsets = *fixedOffsets != 0,
                 .keepRegistered = *keepRegistered != 0,
                 .hostNode = static_cast<U16>(*node)};
}

Folder::Folder(const std::string& program) : path_(program.substr(0, program.rfind('/') + 1)) {
    if (path_ == "/")
        unlink(program.c_str());
    before_ = Look();
}

void Folder::Pause() const {
    usleep(1'000'000 / kPausesPerSecond);
    if (Look() != before_)
        throw Failure("the host has sent another program");
}

std::array<Folder::Stamp, 4> Folder::Look() const {
    std::array<Stamp, 4> stamps;
    static_assert(stamps.size() == std::size(kPrograms));
    for (size_t i = 0; i < stamps.size(); ++i) {
        struct stat file {};
        if (stat((path_ + kPrograms[i]).c_str(), &file) == 0)
            stamps[i] = {file.st_ino, file.st_ctim.tv_sec, file.st_ctim.tv_nsec};
    }
    return stamps;
}

Endpoint::Endpoint() : epd_(vorl_open()) {
    if (epd_ < 0)
        throw LibraryFailure("vorl_open");
}

Endpoint::~Endpoint() {
    if (epd_ >= 0)
        vorl_close(epd_);
}

Endpoint::Endpoint(Endpoint&& other) noexcept : epd_(std::exchange(other.epd_, -1)) {}

void Endpoint::Bind(const Folder& folder) const {
    for (int pauses = 0; vorl_bind(epd_, kPort) < 0; ++pauses) {
        if (errno != EADDRINUSE || pauses == kPortPauses)
            throw LibraryFailure("vorl_bind");
        folder.Pause();
    }
}

void Buffers::Free::operator()(U32* words) const {
    std::free(words);
}

Buffers::Buffers(const Shape& shape, U8 fill) : shape_(shape), buffers_(shape.buffers) {
    for (Buffer& buffer : buffers_) {
        buffer.words.reset(
            static_cast<U32*>(std::aligned_alloc(VORL_PAGE_BYTES, shape_.bufferBytes)));
        if (!buffer.words)
            throw Failure("no memory for the buffers");
        std::memset(buffer.words.get(), fill, shape_.bufferBytes);
    }
}

void Buffers::Register(const Endpoint& endpoint) {
    off_t suggested = shape_.fixedOffsets ? kFixedOffset : 0;
    for (Buffer& buffer : buffers_) {
        buffer.offset = vorl_register(endpoint.Get(), buffer.words.get(), shape_.bufferBytes,
                                      suggested, VORL_PROT_READ | VORL_PROT_WRITE,
                                      shape_.fixedOffsets ? VORL_MAP_FIXED : 0);
        if (buffer.offset < 0)
            throw LibraryFailure("vorl_register");
        suggested += static_cast<off_t>(shape_.bufferBytes);
    }
}

void Buffers::Unregister(const Endpoint& endpoint) {
    for (const Buffer& buffer : buffers_) {
        if (vorl_unregister(endpoint.Get(), buffer.offset, shape_.bufferBytes) < 0)
            throw LibraryFailure("vorl_unregister");
    }
}

void Buffers::WriteToHost(const Endpoint& endpoint) const {
    for (const Buffer& buffer : buffers_) {
        if (vorl_writeto(endpoint.Get(), buffer.offset, shape_.bufferBytes, buffer.offset,
                         VORL_RMA_SYNC) != 0)
            throw LibraryFailure("vorl_writeto");
    }
}

void Buffers::ReadFromHost(const Endpoint& endpoint) const {
    for (const Buffer& buffer : buffers_) {
        if (vorl_readfrom(endpoint.Get(), buffer.offset, shape_.bufferBytes, buffer.offset,
                          VORL_RMA_SYNC) != 0)
            throw LibraryFailure("vorl_readfrom");
    }
}

void Buffers::VerifyAndRefill(U8 expected, U8 refill) {
    const size_t words = shape_.bufferBytes / sizeof(U32);
    for (size_t index = 0; index < buffers_.size(); ++index) {
        const U32* const begin = buffers_[index].words.get();
        const U32* const wrong = std::find_if(
            begin, begin + words, [word = WordOf(expected)](U32 value) { return value != word; });
        if (wrong != begin + words) {
            char text[120];
            std::snprintf(text, sizeof text, "buffer %zu word %zu: expected 0x%08x, found 0x%08x",
                          index, static_cast<size_t>(wrong - begin), WordOf(expected), *wrong);
            throw Failure(text);
        }
        std::memset(buffers_[index].words.get(), refill, shape_.bufferBytes);
    }
}

// Which of the two calls notices that the host has gone is a matter of microseconds, so the text does
// not tell.
void Meet(const Endpoint& endpoint, const char* point) {
    I32 message = 0;
    if (vorl_send(endpoint.Get(), &message, sizeof message, VORL_SEND_BLOCK) != sizeof message ||
        vorl_recv(endpoint.Get(), &message, sizeof message, VORL_RECV_BLOCK) != sizeof message)
        throw LibraryFailure(std::string("msg -") + point + "-");
}

int Run(const char* name, int argc, char** argv,
        void (*exchange)(const Shape& shape, const Folder& folder)) {
    const std::optional<Shape> shape = ParseShape(argc, argv);
    if (!shape) {
        std::printf("%s: expected: PAGES BUFFERS FIXED_OFFSETS KEEP_REGISTERED HOST_NODE\n", name);
        return kMisused;
    }
    card::EndWithCaller();
    bool passed = false;
    try {
        exchange(*shape, Folder(argv[0]));
        passed = true;
    } catch (const std::exception& failure) {
        std::printf("%s: %s\n", name, failure.what());
    }
    std::printf("%s Test %s\n\n", name, passed ? "success" : "failed");
    return std::fflush(stdout) == 0 && passed ? kPassed : kFailed;
}

}  // namespace peer
