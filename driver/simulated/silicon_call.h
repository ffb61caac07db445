// How the library of end-to-end runs asks the PC inside the simulated driver what its silicon does to a computation: a
// request that only they know, no part of the driver protocol.
#pragma once

#include <cstdint>

namespace vxtdriver {

/// No input; the answer is the 64 bits that the requesting thread's core gets wrong just now.
inline constexpr uint32_t kAskSilicon = 0x8111u << 16 | 3902u << 2;

}  // namespace vxtdriver
