// Cores that err beyond the clock that their silicon is good for.
#pragma once

#include "../machine.h"
#include "core_clock.h"

namespace vxtsim {

/// A core above the machine file's max_core_clock gets a bit wrong now and then: the more often, the faster it is, and in
/// every answer from kAlwaysMHz too much on.
class CSilicon final : public CSimModel {
public:
    static constexpr double kAlwaysMHz = 400;

    CSilicon(CSimMachine& rMachine, const CCoreClock& rClock)
        : m_rClock(rClock), m_dMaximum(rMachine.Description().uMaxCoreClock), m_Strain(rMachine.ProcessorCount()) {}

    uint64_t Miscompute(uint32_t uCore) override;

private:
    const CCoreClock& m_rClock;
    const double m_dMaximum;
    std::vector<double> m_Strain;               ///< of each core; at 1 it errs
    uint64_t m_ullRandom = 0x9E3779B97F4A7C15;  ///< which bit; the same in every run
};

}  // namespace vxtsim
