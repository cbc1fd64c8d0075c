#include "Breaks.h"

#include <algorithm>
#include <iterator>

namespace {

constexpr int kAny = -1;

// What another operation is made with.
enum class By { kOpcode, kImmediate, kRegister };

enum class Where { kAnywhere, kMemory, kRegisters };

struct Row {
    const char* kind;
    int map;
    int opcode;
    int prefix;  // or kAny
    By by;
    int other;  // the opcode, or the bits of immediate or register number that are turned over
    Where where = Where::kAnywhere;
    bool wideOnly = false;  // there is no such instruction on 128 bits
    // Left out it may do no harm: its register may hold the same from before.
    bool mayBeHeld = false;
};

// An instruction may have several rows. Opcodes below are the manual's: behind 0F, 0F 38 and 0F 3A.
constexpr Row kRows[] = {
    {"add", 1, 0x58, kAny, By::kOpcode, 0x5C},       // addp, adds -> sub
    {"add", 1, 0xFE, 0x66, By::kOpcode, 0xFA},       // paddd -> psubd
    {"add", 1, 0xD4, 0x66, By::kOpcode, 0xFB},       // paddq -> psubq
    {"subtract", 1, 0x5C, kAny, By::kOpcode, 0x58},  // sub -> add
    {"subtract", 1, 0xFA, 0x66, By::kOpcode, 0xDB},  // psubd -> pand; on a sign bit alone
                                                     // paddd does the same

    {"subtract", 1, 0xFB, 0x66, By::kOpcode, 0xD4},            // psubq -> paddq
    {"multiply", 1, 0x59, kAny, By::kOpcode, 0x58},            // mul -> add
    {"multiply", 1, 0xF4, 0x66, By::kOpcode, 0xD4},            // pmuludq -> paddq
    {"multiply", 2, 0x40, 0x66, By::kOpcode, 0x39},            // pmulld -> pminsd
    {"fused multiply-add", 2, 0x98, 0x66, By::kOpcode, 0x9A},  // vfmadd132p -> vfmsub132p
    {"fused multiply-add", 2, 0xA8, 0x66, By::kOpcode, 0xAA},  // vfmadd213p -> vfmsub213p
    {"fused multiply-add", 2, 0xB8, 0x66, By::kOpcode, 0xBA},  // vfmadd231p -> vfmsub231p
    {"fused multiply-add", 2, 0x99, 0x66, By::kOpcode, 0x9B},  // the same of one lane
    {"fused multiply-add", 2, 0xA9, 0x66, By::kOpcode, 0xAB},
    {"fused multiply-add", 2, 0xB9, 0x66, By::kOpcode, 0xBB},

    {"compare", 1, 0xC2, kAny, By::kImmediate, 3},  // cmp: less -> less or equal
    {"compare", 1, 0xC2, kAny, By::kImmediate, 4},  // cmp: less -> not less
    {"compare", 1, 0x66, 0x66, By::kOpcode, 0x76},  // pcmpgtd -> pcmpeqd
    {"compare", 1, 0x76, 0x66, By::kOpcode, 0x66},  // pcmpeqd -> pcmpgtd
    {"compare", 2, 0x29, 0x66, By::kOpcode, 0x37},  // pcmpeqq -> pcmpgtq
    {"compare", 2, 0x37, 0x66, By::kOpcode, 0x29},  // pcmpgtq -> pcmpeqq
    {"compare", 3, 0x1E, 0x66, By::kImmediate, 3},  // vpcmpu: less -> less or equal
    {"compare", 3, 0x1E, 0x66, By::kImmediate, 4},  // vpcmpu: less -> not less
    {"compare", 3, 0x1F, 0x66, By::kImmediate, 3},  // vpcmp, in the same way
    {"compare", 3, 0x1F, 0x66, By::kImmediate, 4},
    {"compare", 1, 0x2F, kAny, By::kOpcode, 0x57},  // comis -> xorp, which sets no flags
    {"compare", 2, 0x38, 0xF3, By::kOpcode, 0x28},  // vpmovm2d, q -> b, w: mask to lanes

    // Of four numbers of lanes in the immediate the first and the last, or the second where an
    // instruction behind it may want two alone.
    {"shuffle", 1, 0x70, 0x66, By::kImmediate, 0x01},  // pshufd
    {"shuffle", 1, 0x70, 0x66, By::kImmediate, 0x04},
    {"shuffle", 1, 0xC6, 0, By::kImmediate, 0x01},  // shufps
    {"shuffle", 1, 0xC6, 0, By::kImmediate, 0x04},
    {"shuffle", 1, 0xC6, 0x66, By::kImmediate, 0x01},                          // shufpd
    {"shuffle", 3, 0x00, 0x66, By::kImmediate, 0x01, Where::kAnywhere, true},  // vpermq
    {"shuffle", 3, 0x00, 0x66, By::kImmediate, 0x40, Where::kAnywhere, true},
    {"shuffle", 3, 0x01, 0x66, By::kImmediate, 0x01, Where::kAnywhere, true},  // vpermpd
    {"shuffle", 3, 0x01, 0x66, By::kImmediate, 0x40, Where::kAnywhere, true},
    {"shuffle", 3, 0x04, 0x66, By::kImmediate, 0x01},  // vpermilps
    {"shuffle", 3, 0x04, 0x66, By::kImmediate, 0x40},
    {"shuffle", 3, 0x05, 0x66, By::kImmediate, 0x01},                          // vpermilpd
    {"shuffle", 3, 0x06, 0x66, By::kImmediate, 0x01, Where::kAnywhere, true},  // vperm2f128
    {"shuffle", 3, 0x06, 0x66, By::kImmediate, 0x10, Where::kAnywhere, true},
    {"shuffle", 3, 0x46, 0x66, By::kImmediate, 0x01, Where::kAnywhere, true},  // vperm2i128
    {"shuffle", 3, 0x46, 0x66, By::kImmediate, 0x10, Where::kAnywhere, true},
    {"shuffle", 3, 0x23, 0x66, By::kImmediate, 0x01, Where::kAnywhere, true},  // vshuff32x4
    {"shuffle", 3, 0x43, 0x66, By::kImmediate, 0x01, Where::kAnywhere, true},  // vshufi32x4
    {"shuffle", 1, 0x14, kAny, By::kOpcode, 0x15},                             // unpcklp -> unpckhp
    {"shuffle", 1, 0x15, kAny, By::kOpcode, 0x14},
    {"shuffle", 1, 0x62, 0x66, By::kOpcode, 0x6A},  // punpckldq -> punpckhdq
    {"shuffle", 1, 0x6A, 0x66, By::kOpcode, 0x62},
    {"shuffle", 1, 0x6C, 0x66, By::kOpcode, 0x6D},  // punpcklqdq -> punpckhqdq
    {"shuffle", 1, 0x6D, 0x66, By::kOpcode, 0x6C},
    {"shuffle", 1, 0x12, 0, By::kOpcode, 0x16, Where::kRegisters},  // movhlps -> movlhps
    {"shuffle", 1, 0x16, 0, By::kOpcode, 0x12, Where::kRegisters},
    {"shuffle", 2, 0x16, 0x66, By::kOpcode, 0x0C, Where::kAnywhere, true},  // vpermps -> vpermilps
    {"shuffle", 2, 0x36, 0x66, By::kOpcode, 0x40, Where::kAnywhere, true},  // vpermd -> vpmulld
    {"shuffle", 2, 0x7F, 0x66, By::kOpcode, 0x77},  // vpermt2p -> vpermi2p: other roles
    {"shuffle", 2, 0x7E, 0x66, By::kOpcode, 0x76},  // vpermt2d -> vpermi2d
    {"shuffle", 2, 0x77, 0x66, By::kOpcode, 0x7F},  // and back
    {"shuffle", 2, 0x76, 0x66, By::kOpcode, 0x7E},
    {"blend", 3, 0x4A, 0x66, By::kImmediate, 0x10},   // vblendvps: another register's mask
    {"blend", 3, 0x4B, 0x66, By::kImmediate, 0x10},   // vblendvpd
    {"blend", 3, 0x4C, 0x66, By::kImmediate, 0x10},   // vpblendvb
    {"broadcast", 2, 0x58, 0x66, By::kOpcode, 0x78},  // vpbroadcastd -> vpbroadcastb
    {"broadcast", 2, 0x59, 0x66, By::kOpcode, 0x58},  // vpbroadcastq -> vpbroadcastd
    {"bits", 1, 0xDB, 0x66, By::kOpcode, 0xEB},       // pand -> por
    {"bits", 1, 0xEB, 0x66, By::kOpcode, 0xDB},       // por -> pand
    {"bits", 1, 0xEF, 0x66, By::kOpcode, 0xEB},       // pxor -> por
    {"bits", 1, 0x54, kAny, By::kOpcode, 0x56},       // andp -> orp
    {"bits", 1, 0x56, kAny, By::kOpcode, 0x54},       // orp -> andp
    {"bits", 1, 0x57, kAny, By::kOpcode, 0x56},       // xorp -> orp
    {"shift", 1, 0x72, 0x66, By::kImmediate, 1},      // psrld
    {"shift", 1, 0x73, 0x66, By::kImmediate, 1},      // psrlq
    {"constant", 1, 0x6E, 0x66, By::kRegister, 1, Where::kRegisters, false,
     true},  // movd of another register

    // Loads and stores that leave out lanes; wide ones lose their upper half below.
    {"load", 1, 0x10, 0, By::kOpcode, 0x12, Where::kMemory},                  // movups -> movlps
    {"load", 1, 0x10, 0x66, By::kOpcode, 0x12, Where::kMemory},               // movupd -> movlpd
    {"load", 1, 0x28, kAny, By::kOpcode, 0x12, Where::kMemory},               // movap -> movlp
    {"load", 1, 0x6F, 0x66, By::kOpcode, 0x12, Where::kMemory},               // movdqa -> movlpd
    {"load", 1, 0x6F, 0xF3, By::kOpcode, 0x12, Where::kMemory},               // movdqu -> movsldup
    {"load", 1, 0x12, kAny, By::kOpcode, 0x16, Where::kMemory},               // movlp -> movhp
    {"load", 1, 0x16, kAny, By::kOpcode, 0x12, Where::kMemory},               // movhp -> movlp
    {"load", 1, 0x10, 0xF3, By::kOpcode, 0x51, Where::kMemory, false, true},  // movss -> sqrtss
    {"load", 1, 0x10, 0xF2, By::kOpcode, 0x51, Where::kMemory, false, true},  // movsd -> sqrtsd
    {"load", 1, 0x7E, 0xF3, By::kOpcode, 0xE6, Where::kMemory},               // movq -> cvtdq2pd
    {"store", 1, 0x11, 0, By::kOpcode, 0x13, Where::kMemory},                 // movups -> movlps
    {"store", 1, 0x11, 0x66, By::kOpcode, 0x13, Where::kMemory},              // movupd -> movlpd
    {"store", 1, 0x29, kAny, By::kOpcode, 0x13, Where::kMemory},              // movap -> movlp
    {"store", 1, 0x7F, 0x66, By::kOpcode, 0x13, Where::kMemory},              // movdqa -> movlpd
    {"store", 1, 0x7F, 0xF3, By::kOpcode, 0x11, Where::kMemory},              // movdqu -> movss
    {"store", 1, 0xD6, 0x66, By::kOpcode, 0x7E, Where::kMemory},              // movq -> movd
};

// Loads, stores and moves between registers.
constexpr int kMoves[] = {0x10, 0x11, 0x12, 0x13, 0x16, 0x17, 0x28,
                          0x29, 0x6E, 0x6F, 0x7E, 0x7F, 0xD6};

constexpr std::uint8_t kNothing = 0x90;

bool Fits(const Row& row, const Bytes& bytes, const Encoding& encoding) {
    return row.map == encoding.map && row.opcode == bytes[encoding.opcode] &&
           (row.prefix == kAny || row.prefix == encoding.prefix) &&
           (row.where == Where::kAnywhere ||
            encoding.InRegisters(bytes) == (row.where == Where::kRegisters));
}

Break OtherOperation(const Row& row, const Bytes& bytes, const Encoding& encoding) {
    Break other{"another operation", bytes};
    if (row.by == By::kOpcode)
        other.bytes[encoding.opcode] = static_cast<std::uint8_t>(row.other);
    else if (row.by == By::kRegister)
        other.bytes[encoding.opcode + 1] ^= row.other;
    else
        other.bytes.back() ^= row.other;
    return other;
}

bool IsMove(const Bytes& bytes, const Encoding& encoding) {
    return encoding.map == 1 && std::find(std::begin(kMoves), std::end(kMoves),
                                          bytes[encoding.opcode]) != std::end(kMoves);
}

}  // namespace

Breaks BreaksOf(const Bytes& bytes, const Encoding& encoding) {
    Breaks breaks;
    bool canBeHalved = encoding.bits > 128;
    bool mayBeHeld = false;
    for (const Row& row : kRows) {
        if (!Fits(row, bytes, encoding))
            continue;
        breaks.kind = row.kind;
        // A wide load loses its lanes in another way.
        const bool isMove = IsMove(bytes, encoding) && row.where == Where::kMemory;
        if (!isMove || encoding.form == Form::kLegacy)
            breaks.ways.push_back(OtherOperation(row, bytes, encoding));
        mayBeHeld = mayBeHeld || row.mayBeHeld;
        if (row.wideOnly && encoding.bits == 256)
            canBeHalved = false;
    }
    if (canBeHalved)
        breaks.ways.push_back({"without its upper half", Halved(bytes, encoding)});
    if (!mayBeHeld)
        breaks.ways.push_back({"left out", Bytes(bytes.size(), kNothing)});
    return breaks;
}
