// The calling thread.
#pragma once

#include <cstdint>

namespace vxt::platform {

/// Pins the calling thread to the processors of `uMask`, one bit each, until the next call; it runs on one of them when the
/// call returns. False (and no change) when one of them does not exist or is not the process's.
bool SetThreadAffinity(uint32_t uMask);

}  // namespace vxt::platform
