#include "bench/cache_geometry.h"

#include <cpuid.h>

namespace vxt {

namespace {

constexpr uint32_t kHighestExtended = 0x80000000, kCaches = 0x80000006;

}  // namespace

platform::CCpuidRegisters g_OwnCpuid(uint32_t uLeaf) {
    platform::CCpuidRegisters Registers{};
    __cpuid(uLeaf, Registers.uEax, Registers.uEbx, Registers.uEcx, Registers.uEdx);
    return Registers;
}

std::optional<CCacheGeometry> g_QueryCacheGeometry(CCpuidFunction pCpuid) {
    if (pCpuid(kHighestExtended).uEax < kCaches) return std::nullopt;
    const platform::CCpuidRegisters Caches = pCpuid(kCaches);
    // ECX 31:16 second-level KiB, 7:0 bytes of its lines; EDX 31:18 third-level size in units of 512 KiB.
    return CCacheGeometry{Caches.uEcx >> 16, Caches.uEcx & 0xFF, (Caches.uEdx >> 18) * 512};
}

}  // namespace vxt
