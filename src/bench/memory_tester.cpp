#include "bench/memory_tester.h"

#include <algorithm>
#include <memory>
#include <new>

#include "api/log/log_checks.h"
#include "bench/memory_passes.h"
#include "platform/clock.h"

namespace vxt {

namespace {

constexpr uint64_t kMiB = 1024 * 1024;
/// Where memory is short, less will do, but not what the caches hold for the greater part.
constexpr uint64_t kLeast = 16 * kMiB;

/// Wider than size_t: the processor may tell of 8 GiB.
uint64_t g_CacheBytes(const CCacheGeometry& rGeometry) {
    return (uint64_t{rGeometry.uSecondLevelKiB} + rGeometry.uThirdLevelKiB) * 1024;
}

struct CRegion {
    std::unique_ptr<uintptr_t[]> pWords;
    size_t uBytes;
};

/// Written once, so that every page is there. Half of it when there is no memory for the whole; null: none.
CRegion g_MakeRegion(const CCacheGeometry& rGeometry) {
    const uint64_t uLeast = std::max(kLeast, 2 * g_CacheBytes(rGeometry));
    CRegion Region{nullptr, g_MemoryRegion(rGeometry)};
    do Region.pWords.reset(new (std::nothrow) uintptr_t[Region.uBytes / sizeof(uintptr_t)]());
    while (!Region.pWords && (Region.uBytes = Region.uBytes / 2 / kBlockBytes * kBlockBytes) >= uLeast);
    return Region;
}

}  // namespace

size_t g_MemoryRegion(const CCacheGeometry& rGeometry) {
    return static_cast<size_t>(std::clamp(4 * g_CacheBytes(rGeometry), 64 * kMiB, 256 * kMiB));
}

bool CMemoryTester::Init() {
    m_Geometry = g_QueryCacheGeometry().value_or(CCacheGeometry{});
    return true;
}

bool CMemoryTester::Run() {
    const bool bRead = MeasureReadBandwidth() > 0;
    return MeasureWriteBandwidth() > 0 && bRead;
}

float CMemoryTester::MeasureReadBandwidth() { return _Measure(g_LoadRegion); }

float CMemoryTester::MeasureWriteBandwidth() { return _Measure(g_StoreRegion); }

float CMemoryTester::_Measure(void (*pPass)(uintptr_t* pBegin, size_t uBlocks), const char* pszOperation) {
    const auto LogFunction = [=](const char*) { return pszOperation; };
    const CRegion Region = g_MakeRegion(m_Geometry);
    LOG_PROCESS_ERROR(Region.pWords);
    const double dBegin = platform::RunningSeconds();
    double dSeconds = 0;
    uint64_t ullBytes = 0;
    do {
        pPass(Region.pWords.get(), Region.uBytes / kBlockBytes);
        ullBytes += Region.uBytes;
        dSeconds = platform::RunningSeconds() - dBegin;
    } while (dSeconds < m_dSeconds);
    return g_MegabytesPerSecond(ullBytes, dSeconds);
}

}  // namespace vxt
