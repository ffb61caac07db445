// The caches of the processor that the program runs on.
#pragma once

#include <cstdint>
#include <optional>

#include "platform/cpuid.h"

namespace vxt {

/// 0: not told.
struct CCacheGeometry {
    uint32_t uSecondLevelKiB = 0, uLineBytes = 0, uThirdLevelKiB = 0;
};

using CCpuidFunction = platform::CCpuidRegisters (*)(uint32_t uLeaf);

/// The instruction itself: platform::Cpuid answers for the PC that is tuned, which may be a simulated one.
platform::CCpuidRegisters g_OwnCpuid(uint32_t uLeaf);

/// None where the processor has no leaf 80000006h.
std::optional<CCacheGeometry> g_QueryCacheGeometry(CCpuidFunction pCpuid = g_OwnCpuid);

}  // namespace vxt
