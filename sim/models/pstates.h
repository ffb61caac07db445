// P-state transitions of families 10h and 11h.
#pragma once

#include <optional>

#include "../machine.h"
#include "core_clock.h"

namespace vxtsim {

/// Two ways to a new frequency and voltage. MSR C001_0062 asks for a P-state, bounded by C001_0061: after a while
/// C001_0063 shows it and both COFVID registers hold what its definition says. MSR C001_0070 sets the fields directly:
/// after a while C001_0071 shows them, as far as the limits in its upper half allow, and C001_0063 the P-state named.
class CPstates final : public CSimModel, public CCoreClock {
public:
    static constexpr uint32_t kLimit = 0xC0010061, kCommand = 0xC0010062, kCurrent = 0xC0010063,
                              kDefinitions = 0xC0010064;
    static constexpr uint32_t kControl = 0xC0010070, kStatus = 0xC0010071;

    /// Core clock = reference / 2 * (FID + offset) / 2^DID.
    CPstates(CSimMachine& rMachine, uint32_t uFidOffset);
    bool WriteMsr(uint32_t uCore, uint32_t uIndex, uint64_t ullValue) override;
    void Tick(uint64_t ullNanoseconds) override;
    void Describe(CMachineDescription& rDescription) const override;
    double CoreMHz(uint32_t uCore) const override;
    double SettledMHz(uint32_t uCore) const override { return _MHz(_Settled(uCore)); }
    double SettledVolts(uint32_t uCore) const override;
    double TimeStampMHz(uint32_t uCore) const override;

    uint64_t m_ullDelay = 200'000;  ///< ns that a transition takes
    bool m_bStuck = false;          ///< the status never arrives

private:
    struct CRequest {
        uint64_t ullDone;
        uint32_t uPstate;
        uint32_t uFields;  ///< as they stand in a definition
    };
    void _Request(uint32_t uCore, uint32_t uPstate, uint32_t uFields);
    void _Complete(const CRequest& rRequest, uint64_t& rullStatus, uint64_t& rullControl, uint64_t& rullCurrent) const;
    uint64_t _Settled(uint32_t uCore) const;  ///< the status register when the transition under way has ended
    double _MHz(uint64_t ullFields) const;

    CSimMachine& m_rMachine;
    uint32_t m_uFidOffset;
    std::vector<std::optional<CRequest>> m_Pending;
};

}  // namespace vxtsim
