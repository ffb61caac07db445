// Bandwidth of the first-level cache, and what the processor tells of the second.
#pragma once

#include <vxtapi/benchmark_center.h>

#include "bench/cache_geometry.h"

namespace vxt {

class CCacheTester final : public vxtapi::CCacheTester {
public:
    static constexpr uint32_t kPasses = 0x200000;

    explicit CCacheTester(uint32_t uPasses = kPasses) : m_uPasses(uPasses) {}

    /// Always: a processor that does not tell its caches has sizes of 0.
    bool Init();
    const wchar_t* GetName() override { return L"CacheTester"; }
    bool Run() override { return MeasureReadBandwidth() > 0; }
    const wchar_t* GetUnit() override { return L"MB/s"; }
    bool GetReserved() override { return false; }
    bool GetSecondReserved() override { return false; }
    float MeasureReadBandwidth() override;
    uint32_t GetCacheSize() override { return m_Geometry.uSecondLevelKiB; }
    uint32_t GetLineSize() override { return m_Geometry.uLineBytes; }

private:
    const uint32_t m_uPasses;
    CCacheGeometry m_Geometry;
};

}  // namespace vxt
