// The keys of what can be broken, in the order in which they are read, and stand in the document.
#pragma once

#include "fleet/Faults.h"
#include "fleet/FleetForms.h"

namespace simulated {

inline constexpr Key<Fault> kFaultKeys[] = {
    {"call", Text<&Fault::call>()
                 .Called("an operation of `libZelAccessSDK` or `libvorl`, of those below")
                 .Required("a fault names the call that fails: call = \"ZelGetUUID\"")},
    // A status of 0 is a success.
    {"status", Number<&Fault::status>(std::numeric_limits<U32>::max(), 1),
     "what the call returns; for `libvorl` the `errno` beside its -1",
     "`13`; with `delay` the call does what it does"},
    {"skip", Number<&Fault::skip>(), "calls that pass first", "`0`"},
    {"count", Number<&Fault::count>(), "calls that then go wrong; `0`: every one from there on",
     "`1`"},
    {"block", Flag<&Fault::block>(),
     "whether the call never returns; goes with neither `status` nor `delay`", "`false`"},
    {"delay", Time<&Fault::delay>(1),
     "how long the call takes before it fails with `status` or, without one, does what it does"},
};

inline constexpr Key<MemoryFault> kMemoryFaultKeys[] = {
    {"address", Number<&MemoryFault::address>(kMaxMemoryBytes - 1)
                    .Called("a byte below `memory_size`")
                    .Required("a memory fault names its address: address = 0x2000")},
    {"bit", Number<&MemoryFault::bit>(7), "", "`0`"},
    {"stuck", Number<&MemoryFault::stuck>(1), "", "`1`"},
    {"every",
     Number<&MemoryFault::every>(kMaxMemoryBytes)
         .Called("bytes, at most 64 GiB; `0`: this cell alone"),
     "", "`0`"},
};

// The line with which another is swapped; only where it is given are they.
inline constexpr Field<AddressFault> kSwappedWith = {
    .take =
        [](const Written& written, const Limits& range, AddressFault& fault) {
            std::string refusal = NumberForm::Take(written, range, fault.with);
            fault.swaps = refusal.empty();
            return refusal;
        },
    .give =
        [](const AddressFault& fault, const Limits& range) {
            return fault.swaps ? NumberForm::Give(fault.with, range) : Written();
        },
    .damage =
        [](const AddressFault& fault, const Limits& range) {
            const Damage flag = FlagForm::DamageOf(fault.swaps, range);
            return flag == Damage::None ? NumberForm::DamageOf(fault.with, range) : flag;
        },
    .form = NumberForm::Words,
    .limits = {.most = kLastAddressLine},
};

inline constexpr Key<AddressFault> kAddressFaultKeys[] = {
    {"line", Number<&AddressFault::line>(kLastAddressLine)
                 .Called("a whole number: a line that the memory has, from 0 on")
                 .Required("an address fault names its line: line = 20")},
    {"swapped_with", kSwappedWith.Called("another one"), "the two are swapped",
     "the line is ignored"},
};

inline constexpr Named<bool> kEnds[] = {{"card", true}, {"host", false}};
inline constexpr Key<DmaFault> kDmaFaultKeys[] = {
    {"to",
     Choice<&DmaFault::toCard, kEnds>().Required(
         "a DMA fault names the end where it shows: to = \"card\""),
     "the end where the word is wrong"},
    {"word", Number<&DmaFault::word>(kLastDmaWord),
     "the 32-bit word; the tests transfer 4096 bytes, and one behind them would show nowhere",
     "`0`"},
    {"bit", Number<&DmaFault::bit>(31), "", "`0`"},
    {"stuck", Number<&DmaFault::stuck>(1), "", "`1`"},
};

// What of the cores can go wrong has the name that the workload that tests it gives it.
inline constexpr Named<std::string_view> kVpuOperations[] = {
    {"add", "add"},         {"subtract", "subtract"}, {"multiply", "multiply"}, {"fma", "fma"},
    {"shuffle", "shuffle"}, {"compare", "compare"},   {"reduce", "reduce"}};
inline constexpr Key<CoreFault> kVpuFaultKeys[] = {
    {"operation", Choice<&CoreFault::operation, kVpuOperations>().Required(
                      "a core fault names what goes wrong: operation = \"add\"")},
    {"lane", Number<&CoreFault::place>(15), "", "`0`"},
};

inline constexpr Named<std::string_view> kCacheOperations[] = {{"walk", "walk"},
                                                               {"link", "link"},
                                                               {"write", "write"},
                                                               {"pingpong", "pingpong"},
                                                               {"lost", "lost"}};
inline constexpr Key<CoreFault> kCacheFaultKeys[] = {
    {"operation",
     Choice<&CoreFault::operation, kCacheOperations>()
         .Called("what the line is wrong in: `\"walk\"` and `\"link\"` on a way through all lines, "
                 "`\"write\"` after writing it, `\"pingpong\"` on its way to another processor; "
                 "`\"lost\"`: it never arrives, which takes 30 seconds to show")
         .Required("a core fault names what goes wrong: operation = \"walk\"")},
    // The last line is one that the smallest cache has too.
    {"line", Number<&CoreFault::place>(255), "", "`0`"},
};

}  // namespace simulated
