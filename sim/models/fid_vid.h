// Frequency and voltage transitions of family 0Fh (K8).
#pragma once

#include <optional>

#include "../machine.h"
#include "core_clock.h"

namespace vxtsim {

/// MSR C001_0041 requests a frequency and a voltage code, C001_0042 shows the present ones and, while they change, the
/// pending bit. A core never leaves the range that its status register names: a frequency above the maximum becomes the
/// maximum, a voltage above the maximum likewise. Without the 100 MHz step capability odd frequency codes lose bit 0.
class CFidVid final : public CSimModel, public CCoreClock {
public:
    static constexpr uint32_t kControl = 0xC0010041, kStatus = 0xC0010042;

    CFidVid(CSimMachine& rMachine, bool bRevisionF);
    bool WriteMsr(uint32_t uCore, uint32_t uIndex, uint64_t ullValue) override;
    void Tick(uint64_t ullNanoseconds) override;
    void Describe(CMachineDescription& rDescription) const override;
    double CoreMHz(uint32_t uCore) const override;
    double SettledMHz(uint32_t uCore) const override { return _MHz(_Settled(uCore)); }
    double SettledVolts(uint32_t uCore) const override;
    double TimeStampMHz(uint32_t uCore) const override { return CoreMHz(uCore); }

    uint64_t m_ullDelay = 100'000;  ///< ns that a transition takes
    bool m_bStuck = false;          ///< transitions stay pending

private:
    struct CRequest {
        uint64_t ullDone;
        uint64_t ullControl;
    };
    void _Complete(uint64_t ullControl, uint64_t& rullStatus) const;
    uint64_t _Settled(uint32_t uCore) const;  ///< the status register when the transition under way has ended
    double _MHz(uint64_t ullStatus) const;

    CSimMachine& m_rMachine;
    bool m_bSixBitVoltage;  ///< revision F: bits 13:8 and 37:32, five bits before
    bool m_bOddFrequencies;
    std::vector<std::optional<CRequest>> m_Pending;
};

}  // namespace vxtsim
