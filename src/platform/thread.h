// The calling thread.
#pragma once

#include <cstdint>

namespace vxt::platform {

/// Pins the calling thread to the processors of `uMask`, one bit each. False (and no change) when none of them exists.
bool SetThreadAffinity(uint32_t uMask);

}  // namespace vxt::platform
