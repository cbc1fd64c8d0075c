#include "fleet/FleetValues.h"

#include <gtest/gtest.h>

#include <string>

namespace simulated {
namespace {

TEST(FleetValues, PcieAddressIsReadToItsLimits) {
    EXPECT_EQ(ParsePcieAddress("0000:02:00.0"), (PcieAddress{0, 2, 0, 0}));
    EXPECT_EQ(ParsePcieAddress("ffff:ff:1f.7"), (PcieAddress{0xFFFF, 0xFF, 0x1F, 7}));
    EXPECT_EQ(ParsePcieAddress("00aB:cD:0e.1"), (PcieAddress{0xAB, 0xCD, 0xE, 1}));
}

TEST(FleetValues, PcieAddressOfAnotherShapeIsNone) {
    for (const char* text : {"", "02:00.0", "0000:02:00", "0000:02:20.0", "0000:02:00.8",
                             "0000:0g:00.0", "0000-02:00.0", "0000:02:00.0 ", "+000:02:00.0",
                             "0000:-1:00.0", " 000:02:00.0", "0x00:02:00.0"})
        EXPECT_EQ(ParsePcieAddress(text), std::nullopt) << '"' << text << '"';
}

TEST(FleetValues, FirmwareIsReadToItsLimits) {
    EXPECT_EQ(ParseFirmware("1.16.42"), 0x0110002AU);
    EXPECT_EQ(ParseFirmware("0.0.0"), 0U);
    EXPECT_EQ(ParseFirmware("255.255.65535"), 0xFFFFFFFFU);
}

TEST(FleetValues, FirmwareOfAnotherShapeIsNone) {
    for (const char* text : {"", "1", "1.16", "1.16.", ".16.42", "1..42", "1.16.42.1", "256.0.0",
                             "0.256.0", "0.0.65536", "1.16.-1", "1.16. 4", "a.b.c"})
        EXPECT_EQ(ParseFirmware(text), std::nullopt) << '"' << text << '"';
}

TEST(FleetValues, UuidIsReadInTheOrderWritten) {
    const Uuid expected = {0x00, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77,
                           0x88, 0x99, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF};
    EXPECT_EQ(ParseUuid("00112233-4455-6677-8899-aabbccddeeff"), expected);
    EXPECT_EQ(ParseUuid("00112233-4455-6677-8899-AABBCCDDEEFF"), expected);
}

TEST(FleetValues, UuidOfAnotherShapeIsNone) {
    for (const char* text :
         {"", "00112233445566778899aabbccddeeff", "0011223-34455-6677-8899-aabbccddeeff",
          "00112233-4455-6677-8899-aabbccddeefg", "00112233-4455-6677-8899-aabbccddeef",
          "00112233-4455-6677-8899-aabbccddeeff0", "{0112233-4455-6677-8899-aabbccddeef}"})
        EXPECT_EQ(ParseUuid(text), std::nullopt) << '"' << text << '"';
}

TEST(FleetValues, MemorySizeIsReadToItsLimit) {
    EXPECT_EQ(ParseMemorySize("0KiB"), 0U);
    EXPECT_EQ(ParseMemorySize("512KiB"), U64{512} << 10);
    EXPECT_EQ(ParseMemorySize("1MiB"), U64{1} << 20);
    EXPECT_EQ(ParseMemorySize("16GiB"), U64{16} << 30);
    EXPECT_EQ(ParseMemorySize("64GiB"), kMaxMemoryBytes);
    EXPECT_EQ(ParseMemorySize("65536MiB"), kMaxMemoryBytes);
}

TEST(FleetValues, MemorySizeOfAnotherShapeIsNone) {
    for (const char* text : {"", "GiB", "8", "8GB", "8 GiB", "-1GiB", "8.5GiB", "65GiB", "65537MiB",
                             "99999999999999999999GiB", "8gib", "8GiB "})
        EXPECT_EQ(ParseMemorySize(text), std::nullopt) << '"' << text << '"';
}

TEST(FleetValues, TimeIsReadToItsLimit) {
    EXPECT_EQ(ParseTime("0s"), 0U);
    EXPECT_EQ(ParseTime("1ms"), 1U);
    EXPECT_EQ(ParseTime("250ms"), 250U);
    EXPECT_EQ(ParseTime("3s"), 3000U);
    EXPECT_EQ(ParseTime("5min"), 300'000U);
    EXPECT_EQ(ParseTime("24h"), kMaxMilliseconds);
    EXPECT_EQ(ParseTime("86400s"), kMaxMilliseconds);
    EXPECT_EQ(ParseTime("86400000ms"), kMaxMilliseconds);
}

TEST(FleetValues, TimeOfAnotherShapeIsNone) {
    for (const char* text : {"", "3", "s", "ms", "-3s", "3 s", "3s ", "3S", "1.5s", "3m", "25h",
                             "86401s", "86400001ms", "99999999999999999999s"})
        EXPECT_EQ(ParseTime(text), std::nullopt) << '"' << text << '"';
}

TEST(FleetValues, WhatIsWrittenIsReadAgain) {
    EXPECT_EQ(FirmwareText(0x0110002AU), "1.16.42");
    EXPECT_EQ(ParseFirmware(FirmwareText(0xFFFEFDFCU)), 0xFFFEFDFCU);
    EXPECT_EQ(UuidText(*ParseUuid("00112233-4455-6677-8899-AABBCCDDEEFF")),
              "00112233-4455-6677-8899-aabbccddeeff");
    EXPECT_EQ(TimeText(0), "0ms");
    EXPECT_EQ(ParseTime(TimeText(kMaxMilliseconds)), kMaxMilliseconds);
}

TEST(FleetValues, HexadecimalIsReadToItsLimitAndNothingElseIs) {
    EXPECT_EQ(ParseHexadecimal("0x0"), 0U);
    EXPECT_EQ(ParseHexadecimal("0x00aB"), 0xABU);
    EXPECT_EQ(ParseHexadecimal("0xFFFFFFFFFFFFFFFF"), ~U64{0});
    for (const char* text :
         {"", "0x", "12", "x12", "0x10000000000000000", "0x-1", "0x 1", "0x1 ", "0xG", "0X1"})
        EXPECT_EQ(ParseHexadecimal(text), std::nullopt) << '"' << text << '"';
}

}  // namespace
}  // namespace simulated
