#include "bench/cache_tester.h"

#include <algorithm>
#include <memory>
#include <new>

#include "api/log/log_checks.h"
#include "bench/memory_passes.h"
#include "platform/clock.h"

namespace vxt {

namespace {

/// Kept: far more than is read.
constexpr size_t kBufferBytes = 0x4000000;
constexpr size_t kPassBytes = kCachePassBlocks * kBlockBytes;

}  // namespace

bool CCacheTester::Init() {
    m_Geometry = g_QueryCacheGeometry().value_or(CCacheGeometry{});
    return true;
}

float CCacheTester::MeasureReadBandwidth() {
    const std::unique_ptr<uint32_t[]> pBuffer(new (std::nothrow) uint32_t[kBufferBytes / sizeof(uint32_t)]);
    LOG_PROCESS_ERROR(pBuffer);
    // Pages that nobody has written may all be the system's one page of zeros, and a cache that remembers its lines by
    // their addresses in the program (measured: 15 % slower) keeps only one of each.
    std::fill_n(pBuffer.get(), kPassBytes / sizeof(uint32_t), 1);
    const double dBegin = platform::RunningSeconds();
    g_LoadCachePasses(pBuffer.get(), m_uPasses);
    return g_MegabytesPerSecond(uint64_t{m_uPasses} * kPassBytes, platform::RunningSeconds() - dBegin);
}

}  // namespace vxt
