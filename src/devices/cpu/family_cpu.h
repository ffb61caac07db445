// What all processor families share: the way from probe to initialised core, the voltage, and how a request is made.
#pragma once

#include "devices/cpu/cpu.h"
#include "devices/cpu/cpu_registers.h"
#include "hw/pci_function.h"

namespace vxt {

/// Numbers of a core that do not change while it runs. 0 where the family has none.
struct CFvInfo {
    double dStartMultiplier;  ///< after reset; family 11h: when it was initialised
    double dMaxMultiplier;
    double dStartVoltage;       ///< V, after reset; family 11h: when it was initialised
    double dMinVoltage;         ///< V; family 0Fh: see CFidVidCPU
    double dMaxVoltage;         ///< V
    double dMaxRampVoltage;     ///< V; family 0Fh
    double dPstate0Multiplier;  ///< families 10h and 11h
};

/// A core of one of the families. Failed checks are logged under the concrete class, whichever class holds the code.
/// Every MSR operation first pins the calling thread.
class CFamilyCPU : public CCPU {
public:
    bool Init(uint32_t uIndex) override;
    double GetCurrentVoltage() override;
    double GetStartVoltage() override { return m_FvInfo.dStartVoltage; }
    double GetMaxRampVoltage() override { return m_FvInfo.dMaxRampVoltage; }
    bool SetCurrentVoltage(double dVoltage) override;
    double GetMaxMultiplier() override { return m_FvInfo.dMaxMultiplier; }

    const CFvInfo& GetFvInfo() const { return m_FvInfo; }

protected:
    CFamilyCPU(CDriverHandler& rDriver, CSystemTables& rTables, const cpu::CCpuRules& rRules)
        : CCPU(rRules.Identity, rDriver, rTables), m_rRules(rRules) {}

    virtual bool _GetFVInfo() = 0;
    /// Whether the time-stamp counter could be judged; families that do not look at it can.
    virtual bool _CheckTSC() { return true; }
    /// Brings the core from the control register as read to the one wanted. Text of the failed check; null when done.
    virtual const char* _StartTransition(const CMsrWords& rNow, CMsrWords Wanted) = 0;

    /// Asks for a voltage by the ID in that field of the control register. Text of the failed check; null when done.
    const char* _RequestVoltage(const CRegisterField& rVid, double dVoltage);

    bool _CheckCpuid() const;
    /// The capability gate: whether the processor lets software control its clock and voltage.
    bool _CheckFVID() const;
    /// Pins the thread and passes the gate. A closed gate is an answer, not a fault: nothing is logged.
    bool _EnterCore() const;
    /// Pins the calling thread to this core and leaves it there. Kept: cores from 32 on share the mask's 32 bits.
    bool _PinThread() const;

    bool _ReadMsr(uint32_t uIndex, CMsrWords& rWords) const;
    bool _WriteMsr(uint32_t uIndex, const CMsrWords& rWords) const;

    const char* LogClass() const { return m_rRules.pszClass; }

    const cpu::CCpuRules& m_rRules;
    CPciFunction m_Misc{m_rDriver, cpu::kMiscControl};  ///< the processor's miscellaneous control
    CFvInfo m_FvInfo{};
};

}  // namespace vxt
