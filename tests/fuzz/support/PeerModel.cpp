// The model keeps copies of the windows and takes each frame at once.
#include "PeerModel.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#include "GuardedWindows.h"

namespace fuzz {

namespace {

using vorl::FrameType;
using Answers = std::optional<std::vector<Frame>>;

const Answers kNone = std::vector<Frame>();
constexpr U32 kOwnFenceId = 1;

}  // namespace

PeerModel::PeerModel()
    : open_(2 * VORL_PAGE_BYTES, GuardedWindows::kOpenFill),
      readable_(VORL_PAGE_BYTES, GuardedWindows::kReadableFill),
      writable_(VORL_PAGE_BYTES) {
    for (std::size_t i = 0; i < writable_.size(); ++i)
        writable_[i] = GuardedWindows::kSecret[i % sizeof(GuardedWindows::kSecret)];
}

Frame PeerModel::BeginWrite(U64 local, U32 length, U64 remote) {
    const vorl::Header header{.type = FrameType::Write,
                              .id = static_cast<U32>(requests_.size() + 1),
                              .offset = remote,
                              .length = length};
    requests_.push_back({header, local});
    U32 error = 0;
    const auto bytes = Find(local, length, VORL_PROT_READ, &error);
    return {header, {bytes.begin(), bytes.end()}};
}

Frame PeerModel::BeginRead(U64 local, U32 length, U64 remote) {
    const vorl::Header header{.type = FrameType::Read,
                              .id = static_cast<U32>(requests_.size() + 1),
                              .offset = remote,
                              .length = length};
    requests_.push_back({header, local});
    return {header, {}};
}

Frame PeerModel::SendMessage(std::span<const std::byte> message) {
    uncredited_ += message.size();
    return {{.type = FrameType::Message, .length = static_cast<U32>(message.size())},
            {message.begin(), message.end()}};
}

Frame PeerModel::MarkPeer() {
    ownFence_ = true;
    return {{.type = FrameType::Fence, .id = kOwnFenceId}, {}};
}

Answers PeerModel::Take(const Frame& frame) {
    switch (frame.header.type) {
        case FrameType::Message:
            return TakeMessage(frame.payload);
        case FrameType::Credit:
            return TakeCredit(frame.header.length);
        case FrameType::Write:
            return TakeWrite(frame);
        case FrameType::Read:
            return TakeRead(frame);
        case FrameType::WriteDone:
        case FrameType::ReadDone:
            return TakeAnswer(frame);
        case FrameType::Fence:
            return TakeFence(frame.header.id);
        case FrameType::FenceDone:
            return TakeFenceDone(frame.header.id);
    }
    return std::nullopt;
}

Answers PeerModel::TakeMessage(const Bytes& payload) {
    if (messages_.size() + payload.size() > vorl::kMessageWindow)
        return std::nullopt;
    messages_.insert(messages_.end(), payload.begin(), payload.end());
    return kNone;
}

Answers PeerModel::TakeCredit(U32 length) {
    if (length > uncredited_)
        return std::nullopt;
    uncredited_ -= length;
    return kNone;
}

Answers PeerModel::TakeWrite(const Frame& frame) {
    vorl::Header answer{.type = FrameType::WriteDone, .id = frame.header.id};
    const auto window =
        Find(frame.header.offset, frame.payload.size(), VORL_PROT_WRITE, &answer.status);
    if (answer.status == 0)
        std::copy(frame.payload.begin(), frame.payload.end(), window.begin());
    return {{{answer, {}}}};
}

Answers PeerModel::TakeRead(const Frame& frame) {
    vorl::Header answer{.type = FrameType::ReadDone, .id = frame.header.id};
    const auto window =
        Find(frame.header.offset, frame.header.length, VORL_PROT_READ, &answer.status);
    if (answer.status == 0)
        answer.length = frame.header.length;
    return {{{answer, {window.begin(), window.end()}}}};
}

Answers PeerModel::TakeAnswer(const Frame& frame) {
    const bool isRead = frame.header.type == FrameType::ReadDone;
    const FrameType wanted = isRead ? FrameType::Read : FrameType::Write;
    if (requests_.empty() || requests_.front().header.type != wanted ||
        requests_.front().header.id != frame.header.id)
        return std::nullopt;
    const Request request = requests_.front();
    if (isRead && frame.header.status == 0) {
        if (frame.payload.size() != request.header.length)
            return std::nullopt;
        U32 error = 0;
        const auto window = Find(request.local, frame.payload.size(), VORL_PROT_WRITE, &error);
        std::copy(frame.payload.begin(), frame.payload.end(), window.begin());
    }
    requests_.pop_front();
    return AnswerFences();
}

Answers PeerModel::TakeFence(U32 id) {
    if (fences_.size() == vorl::kMaxFences)
        return std::nullopt;
    fences_.push_back(id);
    return AnswerFences();
}

Answers PeerModel::TakeFenceDone(U32 id) {
    if (!ownFence_ || id != kOwnFenceId)
        return std::nullopt;
    ownFence_ = false;
    return kNone;
}

// All own transfers were begun before the first fence came.
std::vector<Frame> PeerModel::AnswerFences() {
    std::vector<Frame> answers;
    if (!requests_.empty())
        return answers;
    for (const U32 id : std::exchange(fences_, {}))
        answers.push_back({{.type = FrameType::FenceDone, .id = id}, {}});
    return answers;
}

std::span<std::byte> PeerModel::Find(U64 offset, U64 length, int protection, U32* error) {
    const struct {
        U64 offset;
        Bytes& bytes;
        int protection;
    } windows[] = {
        {GuardedWindows::kOpen, open_, VORL_PROT_READ | VORL_PROT_WRITE},
        {GuardedWindows::kReadable, readable_, VORL_PROT_READ},
        {GuardedWindows::kWritable, writable_, VORL_PROT_WRITE},
    };
    for (const auto& window : windows) {
        if (offset < window.offset || offset >= window.offset + window.bytes.size() ||
            length > window.offset + window.bytes.size() - offset)
            continue;
        *error = (window.protection & protection) != 0 ? 0 : EACCES;
        if (*error != 0)
            return {};
        return std::span(window.bytes).subspan(offset - window.offset, length);
    }
    *error = ENXIO;
    return {};
}

}  // namespace fuzz
