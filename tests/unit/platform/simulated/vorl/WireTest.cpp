#include "vorl/Wire.h"

#include <gtest/gtest.h>

#include <limits>
#include <random>
#include <vector>

namespace {

using vorl::DecodeHeader;
using vorl::EncodeHeader;
using vorl::FrameType;
using vorl::Header;

constexpr U64 kLastOffset = static_cast<U64>(std::numeric_limits<I64>::max());

const std::vector<Header> kGood = {
    {.type = FrameType::Message, .length = 1},
    {.type = FrameType::Message, .length = vorl::kMaxPayload},
    {.type = FrameType::Credit, .length = 4},
    {.type = FrameType::Write, .id = 7, .offset = 0x80000000, .length = 4096},
    {.type = FrameType::Write, .id = 0xFFFFFFFF, .offset = kLastOffset, .length = 1},
    {.type = FrameType::WriteDone, .id = 7},
    {.type = FrameType::WriteDone, .status = vorl::kMaxStatus, .id = 7},
    {.type = FrameType::Read, .id = 8, .offset = 0, .length = vorl::kMaxPayload},
    {.type = FrameType::ReadDone, .id = 8, .length = vorl::kMaxPayload},
    {.type = FrameType::ReadDone, .status = 6, .id = 8},
    {.type = FrameType::Fence, .id = 1},
    {.type = FrameType::FenceDone, .id = 1},
};

const std::vector<Header> kBad = {
    {.type = static_cast<FrameType>(0), .length = 1},
    {.type = static_cast<FrameType>(9), .length = 1},
    {.type = static_cast<FrameType>(0xFFFF), .length = 1},
    {.type = FrameType::Message, .length = 0},
    {.type = FrameType::Message, .length = vorl::kMaxPayload + 1},
    {.type = FrameType::Message, .length = 0xFFFFFFFF},
    {.type = FrameType::Message, .status = 1, .length = 1},
    {.type = FrameType::Message, .id = 1, .length = 1},
    {.type = FrameType::Message, .offset = 1, .length = 1},
    {.type = FrameType::Credit, .length = 0},
    {.type = FrameType::Write, .id = 1, .offset = kLastOffset + 1, .length = 1},
    {.type = FrameType::Write, .id = 1, .length = 0},
    {.type = FrameType::Write, .status = 1, .id = 1, .length = 1},
    {.type = FrameType::WriteDone, .status = vorl::kMaxStatus + 1, .id = 1},
    {.type = FrameType::WriteDone, .id = 1, .length = 1},
    {.type = FrameType::WriteDone, .id = 1, .offset = 1},
    {.type = FrameType::Read, .id = 1, .length = vorl::kMaxPayload + 1},
    {.type = FrameType::ReadDone, .id = 1, .length = 0},
    {.type = FrameType::ReadDone, .status = 1, .id = 1, .length = 1},
    {.type = FrameType::Fence, .id = 1, .length = 1},
    {.type = FrameType::FenceDone, .status = 1, .id = 1},
};

TEST(Wire, DecodesWhatItEncodes) {
    for (const Header& header : kGood) {
        const auto decoded = DecodeHeader(EncodeHeader(header));
        ASSERT_TRUE(decoded) << static_cast<int>(header.type) << " " << header.length;
        EXPECT_EQ(*decoded, header);
    }
}

TEST(Wire, RefusesFieldsThatATypeDoesNotHave) {
    for (const Header& header : kBad)
        EXPECT_FALSE(DecodeHeader(EncodeHeader(header)))
            << static_cast<int>(header.type) << " status " << header.status << " id " << header.id
            << " offset " << header.offset << " length " << header.length;
}

TEST(Wire, RefusesOtherSizes) {
    const auto bytes = EncodeHeader(kGood.front());
    for (size_t size = 0; size < bytes.size(); ++size)
        EXPECT_FALSE(DecodeHeader(std::span(bytes).first(size))) << size;
    std::vector<std::byte> longer(bytes.begin(), bytes.end());
    longer.push_back({});
    EXPECT_FALSE(DecodeHeader(longer));
}

TEST(Wire, RefusesAnotherMagicAndUsedReserve) {
    for (const size_t at : {0, 1, 2, 3, 6, 7, 28, 29, 30, 31}) {
        auto bytes = EncodeHeader(kGood.front());
        bytes[at] ^= std::byte{1};
        EXPECT_FALSE(DecodeHeader(bytes)) << at;
    }
}

TEST(Wire, HasOneEncodingOnly) {
    std::mt19937 random(1);
    for (int i = 0; i < 200000; ++i) {
        auto bytes = EncodeHeader(kGood[random() % kGood.size()]);
        for (int changes = 1 + static_cast<int>(random() % 3); changes > 0; --changes)
            bytes[random() % bytes.size()] = static_cast<std::byte>(random());
        if (const auto header = DecodeHeader(bytes)) {
            EXPECT_EQ(EncodeHeader(*header), bytes);
            EXPECT_LE(PayloadBytes(*header), vorl::kMaxPayload);
        }
    }
}

TEST(Wire, OnlySomeTypesHaveAPayload) {
    for (const Header& header : kGood) {
        const bool has = header.type == FrameType::Message || header.type == FrameType::Write ||
                         header.type == FrameType::ReadDone;
        EXPECT_EQ(PayloadBytes(header), has ? header.length : 0U);
    }
}

}  // namespace
