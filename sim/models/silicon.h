// Cores that err beyond the clock that their silicon is good for, and stand still beyond another one.
#pragma once

#include "../machine.h"
#include "core_clock.h"

namespace vxtsim {

/// A core above the machine file's max_core_clock gets a bit wrong now and then: the more often, the faster it is, and in
/// every answer from kAlwaysMHz too much on. Where nobody asks, virtual time brings the same errors, of which no more than
/// the first waits. One that runs above hang_core_clock for kHangSeconds takes the PC with it. Both clocks move with the
/// core's voltage.
class CSilicon final : public CSimModel {
public:
    static constexpr double kAlwaysMHz = 400;
    static constexpr double kQuestionsPerSecond = 500;  ///< of one who computes: each stands for so much of his time
    static constexpr double kHangSeconds = 0.25;

    static bool IsDescribed(const CMachineDescription& rMachine) {
        return rMachine.uMaxCoreClock != 0 || rMachine.uHangCoreClock != 0;
    }
    CSilicon(CSimMachine& rMachine, const CCoreClock& rClock);

    uint64_t Miscompute(uint32_t uCore) override;
    void Tick(uint64_t ullNanoseconds) override;
    void Rest(uint64_t ullNanoseconds) override { Tick(ullNanoseconds); }

private:
    struct CCore {
        double dStrain = 0;  ///< at 1 an error is due
        double dBeyond = 0;  ///< seconds for which it has been above the clock at which it hangs
    };
    /// A core computes for so long at its clock and voltage of now.
    void _Compute(uint32_t uCore, double dSeconds);

    CSimMachine& m_rMachine;
    const CCoreClock& m_rClock;
    const double m_dMaximum, m_dHang;  ///< MHz at m_dVolts
    const double m_dVolts;             ///< 0: at any voltage
    const double m_dSlope;             ///< MHz for each volt more
    std::vector<CCore> m_Cores;
    uint64_t m_ullPassed = 0;                   ///< ns that no core has computed for yet
    uint64_t m_ullRandom = 0x9E3779B97F4A7C15;  ///< which bit; the same in every run
};

}  // namespace vxtsim
