// How the library of end-to-end runs asks the PC inside the simulated driver what its silicon does to a computation, and lets
// its time pass: requests that only they know, no part of the driver protocol.
#pragma once

#include <cstdint>

namespace vxtdriver {

/// No input: what the requesting thread's core gets wrong just now.
inline constexpr uint32_t kAskSilicon = 0x8111u << 16 | 3902u << 2;
/// The input is 32 bits: the milliseconds for which the PC is left alone, see vxtsim::CSimMachine::Rest.
inline constexpr uint32_t kLetTimePass = 0x8111u << 16 | 3903u << 2;

/// The answer to both, alike for clients of 32 and 64 bits.
struct CSiliconAnswer {
    uint64_t ullBits = 0;   ///< kAskSilicon: that the core gets wrong
    uint8_t bErrorDue = 0;  ///< kLetTimePass: one fell due meanwhile
    char szHang[119] = {};  ///< not empty: the PC hung, in words, and was reset; whoever asked is gone with it
};
static_assert(sizeof(CSiliconAnswer) == 128);

}  // namespace vxtdriver
