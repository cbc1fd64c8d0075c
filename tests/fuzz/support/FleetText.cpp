// Writes every key, so that nothing is left to a default.
#include "FleetText.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <iterator>
#include <sstream>

#include "Expect.h"

namespace fuzz {

namespace {

struct SboxRegister {
    const char* name;
    U32 offset;
};

constexpr SboxRegister kSboxRegisters[] = {
#define SBOX_REGISTER(name, offset, size, default_value, origin) {#name, offset},
#include "SboxRegisters.def"
#undef SBOX_REGISTER
};

std::string Quoted(std::string_view text) {
    std::string quoted = "\"";
    for (const char c : text) {
        char escape[8];
        const auto byte = static_cast<unsigned char>(c);
        std::snprintf(escape, sizeof(escape), "\\u%04X", byte);
        const bool plain = byte >= 0x20 && byte != 0x7F && c != '"' && c != '\\';
        quoted += plain ? std::string(1, c) : escape;
    }
    return quoted + "\"";
}

std::string Hex(U64 number) {
    char text[19];
    std::snprintf(text, sizeof(text), "0x%llx", static_cast<unsigned long long>(number));
    return text;
}

std::string ModeOf(ZEL_CARD_USAGE_MODE mode) {
    const auto* const row =
        std::find_if(std::begin(simulated::kModeNames), std::end(simulated::kModeNames),
                     [mode](const simulated::ModeName& name) { return name.mode == mode; });
    Expect(row != std::end(simulated::kModeNames), "a card's mode has a name");
    return row->name;
}

std::string FirmwareOf(U32 firmware) {
    return std::to_string(firmware >> 24) + "." + std::to_string(firmware >> 16 & 0xFF) + "." +
           std::to_string(firmware & 0xFFFF);
}

std::string UuidOf(const std::array<U8, 16>& uuid) {
    std::string text;
    for (std::size_t i = 0; i < uuid.size(); ++i) {
        char byte[3];
        std::snprintf(byte, sizeof(byte), "%02x", uuid[i]);
        text += (i == 4 || i == 6 || i == 8 || i == 10 ? "-" : "") + std::string(byte);
    }
    return text;
}

const char* SshOf(simulated::SshState state) {
    switch (state) {
        case simulated::SshState::Up:
            return "up";
        case simulated::SshState::Down:
            return "down";
        case simulated::SshState::Silent:
            return "silent";
    }
    return "";
}

const char* Flag(bool value) {
    return value ? "true" : "false";
}

std::string Milliseconds(U32 time) {
    return Quoted(std::to_string(time) + "ms");
}

void WriteFault(std::ostream& out, const char* table, const simulated::Fault& fault) {
    out << "[[" << table << "]]\ncall = " << Quoted(fault.call) << "\nskip = " << fault.skip
        << "\ncount = " << fault.count << "\nblock = " << Flag(fault.block) << "\n";
    // What has neither fails with a status.
    if (fault.delay != 0)
        out << "delay = " << Milliseconds(fault.delay) << "\n";
    if (fault.status != 0)
        out << "status = " << fault.status << "\n";
}

void WriteRegister(std::ostream& out, const simulated::SboxValue& value) {
    const auto* const row =
        std::find_if(std::begin(kSboxRegisters), std::end(kSboxRegisters),
                     [&value](const SboxRegister& r) { return r.offset == value.offset; });
    Expect(row != std::end(kSboxRegisters), "a register exists");
    Expect(value.width == 64 || value.value <= 0xFFFFFFFF, "a register's value fits it");
    out << row->name << " = " << Quoted(Hex(value.value)) << "\n";
}

void WriteCoreFault(std::ostream& out, const char* table, const char* place,
                    const simulated::CoreFault& fault) {
    if (!fault.operation.View().empty())
        out << "[" << table << "]\noperation = " << Quoted(fault.operation) << "\n"
            << place << " = " << fault.place << "\n";
}

void WriteCard(std::ostream& out, const simulated::Card& card) {
    out << "[[card]]\ngeneration = " << Quoted(simulated::GenerationName(card.generation))
        << "\nname = " << Quoted(card.name) << "\npcie = " << Quoted(ToText(card.pcie))
        << "\nnode = " << card.node << "\ndevice_id = " << card.deviceId
        << "\nsubsystem_id = " << card.subsystemId << "\nrevision_id = " << card.revisionId
        << "\nlink_speed = " << card.linkSpeed << "\nlink_width = " << card.linkWidth
        << "\npost_code = " << Quoted(card.postCode)
        << "\nusage_mode = " << Quoted(ModeOf(card.firstMode))
        << "\nmode_change = " << Milliseconds(card.modeChange)
        << "\nhang_on_kill = " << Flag(card.hangOnKill) << "\ncores = " << card.cores
        << "\ncpuid = " << card.cpuId << "\nthread_mask = " << card.threadMask
        << "\nsmc_firmware = " << Quoted(FirmwareOf(card.smcFirmware))
        << "\nsmc_hardware = " << card.smcHardware << "\nuuid = " << Quoted(UuidOf(card.uuid))
        << "\nflash_version = " << Quoted(card.flashVersion)
        << "\nmemory_size = " << card.memoryBytes
        << "\nmemory_vendor = " << Quoted(card.memoryVendor)
        << "\nmemory_type = " << Quoted(card.memoryType) << "\nmemory_speed = " << card.memorySpeed
        << "\nmemory_density = " << card.memoryDensity
        << "\nmemory_revision = " << card.memoryRevision << "\nssh = " << Quoted(SshOf(card.ssh))
        << "\n";
    if (!card.sbox.empty())
        out << "[card.sbox]\n";
    for (const simulated::SboxValue& value : card.sbox)
        WriteRegister(out, value);
    for (const simulated::Fault& fault : card.faults)
        WriteFault(out, "card.fault", fault);
    for (const simulated::MemoryFault& fault : card.memoryFaults)
        out << "[[card.memory_fault]]\naddress = " << fault.address << "\nbit = " << fault.bit
            << "\nstuck = " << fault.stuck << "\nevery = " << fault.every << "\n";
    for (const simulated::AddressFault& fault : card.addressFaults) {
        out << "[[card.address_fault]]\nline = " << fault.line << "\n";
        if (fault.swaps)
            out << "swapped_with = " << fault.with << "\n";
    }
    for (const simulated::DmaFault& fault : card.dmaFaults)
        out << "[[card.dma_fault]]\nto = " << (fault.toCard ? "\"card\"" : "\"host\"")
            << "\nword = " << fault.word << "\nbit = " << fault.bit << "\nstuck = " << fault.stuck
            << "\n";
    WriteCoreFault(out, "card.vpu_fault", "lane", card.vpuFault);
    WriteCoreFault(out, "card.cache_fault", "line", card.cacheFault);
}

}  // namespace

std::string WriteFleet(const simulated::Fleet& fleet) {
    std::ostringstream out;
    out << "[host]\nhosk_version = " << Quoted(fleet.hoskVersion) << "\n";
    for (const simulated::Fault& fault : fleet.faults)
        WriteFault(out, "fault", fault);
    for (const simulated::Card& card : fleet.cards)
        WriteCard(out, card);
    return out.str();
}

}  // namespace fuzz
