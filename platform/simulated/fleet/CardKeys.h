// The keys of [[card]], in the order in which they are read, and stand in the document.
#pragma once

#include "fleet/CardFacts.h"
#include "fleet/FleetForms.h"

namespace simulated {

inline constexpr U64 kMaxNode = 0xFFFE;  // the card's own number is one more, and 16 bits wide too

// A row is the name, the field, what the document says, and the default; the last one is that of an ev1x
// that has its own.
inline constexpr Key<CardFacts> kCardKeys[] = {
    {"generation",
     Choice<&CardFacts::generation, kGenerations>().Called(
         "`\"er1x\"` (current) or `\"ev1x\"` (older)"),
     "presets the keys marked *", "`\"er1x\"`"},
    {"name", Text<&CardFacts::name>(), "", "`\"Ostrel(R) Vimbra(TM) Coprocessor\"`",
     "`\"Ostrel(R) Vimbra(TM) Software Development Vehicle (formerly known as \\\"Ember "
     "Vale\\\")\"`"},
    {"pcie", Noted<&CardFacts::pcie, kAddress>(), "one that no other card has",
     "one bus a card from `\"0000:02:00.0\"` on, past those that are given"},
    {"node", Number<&CardFacts::node>(kMaxNode), "the card's number for `libvorl` is one more",
     "the card's place in the file"},
    {"device_id", Number<&CardFacts::deviceId>(), "the low 16 are the vendor", "`0x00501F5A`",
     "`0x00401F5A`"},
    {"subsystem_id", Number<&CardFacts::subsystemId>(),
     "the high 16 are the subsystem, the low 16 its vendor", "`0x00021F5A`", "`0x00011F5A`"},
    {"revision_id", Number<&CardFacts::revisionId>(), "", "`0x20`", "`0x10`"},
    {"link_speed", Number<&CardFacts::linkSpeed>(), "1 = 2.5 GT/s, 2 = 5 GT/s, 3 = unknown", "`2`"},
    {"link_width", Number<&CardFacts::linkWidth>(), "lanes", "`16`"},
    {"post_code", Text<&CardFacts::postCode>(), "", "`\"12\"`"},
    {"usage_mode", Choice<&CardFacts::firstMode, kModeNames>(), "", "`\"normal\"`"},
    {"mode_change", Time<&CardFacts::modeChange>(),
     "how long a change of the usage mode takes (see \"Modes that take time\")", "`\"0s\"`"},
    {"hang_on_kill", Flag<&CardFacts::hangOnKill>(),
     "whether SIGTERM leaves a call that blocks alone (see `block` of `[[card.fault]]`)",
     "`false`"},
    {"cores", Number<&CardFacts::cores>(), "", "`60`"},
    {"cpuid", Number<&CardFacts::cpuId>(), "the register at 0x1AB54", "`0x0000B000`"},
    {"thread_mask", Number<&CardFacts::threadMask>(), "the register at 0x1AB30", "`0xF`"},
    {"smc_firmware", Noted<&CardFacts::smcFirmware, kFirmware>(), "", "`\"1.16.42\"`"},
    {"smc_hardware", Number<&CardFacts::smcHardware>(), "", "`0x00030002`"},
    {"uuid", Noted<&CardFacts::uuid, kUuid>(), "",
     "`\"00112233-4455-6677-8899-aabbccddeeff\"` for zel0, ending in `ef00` for zel1, `ef01` for "
     "zel2, and so on"},
    {"flash_version", Text<&CardFacts::flashVersion>(), "", "`\"2.1.02.0390\"`"},
    {"ssh",
     Choice<&CardFacts::ssh, kSshStates>().Called("`\"up\"`; `\"down\"`: connections are refused; "
                                                  "`\"silent\"`: they are made and never answered"),
     "", "`\"up\"`"},
    {"memory_size", MemorySize<&CardFacts::memoryBytes>(), "", "`\"8GiB\"`"},
    {"memory_vendor", Text<&CardFacts::memoryVendor>(), "", "`\"Elmwood\"`"},
    {"memory_type", Text<&CardFacts::memoryType>(), "", "`\"GDDR5\"`"},
    {"memory_speed", Number<&CardFacts::memorySpeed>(), "in kT/s", "`5000000`"},
    {"memory_density", Number<&CardFacts::memoryDensity>(), "in MB", "`8192`"},
    {"memory_revision", Number<&CardFacts::memoryRevision>(), "", "`1`"},
};

}  // namespace simulated
