// Bandwidth of main memory, as one thread gets it.
#pragma once

#include <vxtapi/benchmark_center.h>

#include "bench/cache_geometry.h"

namespace vxt {

/// Bytes to measure over: four times the caches, which then keep next to nothing from one pass to the next; 64 to 256 MiB.
size_t g_MemoryRegion(const CCacheGeometry& rGeometry);

class CMemoryTester final : public vxtapi::CMemoryTester {
public:
    static constexpr double kSeconds = 0.3;

    /// A measurement takes `dSeconds`, and one pass over the region at least.
    explicit CMemoryTester(double dSeconds = kSeconds) : m_dSeconds(dSeconds) {}

    /// Always: a processor that does not tell its caches has the smallest region.
    bool Init();
    const wchar_t* GetName() override { return L"MemoryTester"; }
    bool Run() override;
    const wchar_t* GetUnit() override { return L"MB/s"; }
    bool GetReserved() override { return false; }
    bool GetSecondReserved() override { return false; }
    float MeasureReadBandwidth() override;
    float MeasureWriteBandwidth() override;

private:
    static constexpr const char* LogClass() { return "CMemoryTester"; }
    float _Measure(void (*pPass)(uintptr_t* pBegin, size_t uBlocks), const char* pszOperation = __builtin_FUNCTION());

    const double m_dSeconds;
    CCacheGeometry m_Geometry;
};

}  // namespace vxt
