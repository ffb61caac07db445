// The time-stamp counter of every core (MSR 10h).
#pragma once

#include "../machine.h"
#include "core_clock.h"

namespace vxtsim {

class CTimeStampCounter final : public CSimModel {
public:
    static constexpr uint32_t kIndex = 0x10;

    CTimeStampCounter(CSimMachine& rMachine, const CCoreClock& rClock)
        : m_rClock(rClock), m_Ticks(rMachine.ProcessorCount()) {}

    bool ReadMsr(uint32_t uCore, uint32_t uIndex, uint64_t& rullValue) override {
        if (uIndex != kIndex) return false;
        rullValue = static_cast<uint64_t>(m_Ticks[uCore]);
        return true;
    }
    bool WriteMsr(uint32_t uCore, uint32_t uIndex, uint64_t ullValue) override {
        if (uIndex != kIndex) return false;
        m_Ticks[uCore] = static_cast<double>(ullValue & kLongest);
        return true;
    }
    void Tick(uint64_t ullNanoseconds) override {
        for (uint32_t uCore = 0; uCore < m_Ticks.size(); ++uCore)
            m_Ticks[uCore] += static_cast<double>(ullNanoseconds) * m_rClock.TimeStampMHz(uCore) / 1000.0;
    }

private:
    static constexpr uint64_t kLongest = (uint64_t{1} << 53) - 1;  ///< what a double counts exactly: a month at 3 GHz

    const CCoreClock& m_rClock;
    std::vector<double> m_Ticks;
};

}  // namespace vxtsim
