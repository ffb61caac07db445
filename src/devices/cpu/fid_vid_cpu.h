// Family 0Fh: clock and voltage through the FID/VID registers.
#pragma once

#include "devices/cpu/family_cpu.h"

namespace vxt {

class CFidVidCPU : public CFamilyCPU {
public:
    double GetCurrentMultiplier() override;
    bool SetCurrentMultiplier(double dMultiplier) override;

protected:
    /// `rFourthVid`: field of the status register behind the stored minimum voltage.
    CFidVidCPU(CDriverHandler& rDriver, CSystemTables& rTables, const cpu::CCpuRules& rRules,
               const CRegisterField& rFourthVid)
        : CFamilyCPU(rDriver, rTables, rRules), m_FourthVid(rFourthVid) {}

    bool _GetFVInfo() override;
    const char* _StartTransition(const CMsrWords& rNow, CMsrWords Wanted) override;

private:
    CRegisterField m_FourthVid;
};

/// First generations (extended models 0 to 2). Transitions are started and not waited for.
class CCorvel64CPU : public CFidVidCPU {
public:
    CCorvel64CPU(CDriverHandler& rDriver, CSystemTables& rTables, const cpu::CCpuRules& rRules = cpu::kFirstK8Rules)
        : CFidVidCPU(rDriver, rTables, rRules, cpu::kMinVid) {}
    /// An int32_t: the signed offset of the thermal trip register.
    const void* GetThermTrip() override;

private:
    int32_t m_nThermTrip = 0;
};

/// Revision F and later. Setters wait, without limit and without sleeping, until the transition has ended.
class CCorvel64X2CPU : public CFidVidCPU {
public:
    // Kept: revision F stores its start voltage where the first generation stores its minimum.
    CCorvel64X2CPU(CDriverHandler& rDriver, CSystemTables& rTables, const cpu::CCpuRules& rRules = cpu::kRevisionFRules)
        : CFidVidCPU(rDriver, rTables, rRules, cpu::kStartVid) {}
    bool Init(uint32_t uIndex) override;
    /// A double: this core's temperature in degrees Celsius; 0 for models whose sensor reads otherwise.
    const void* GetThermTrip() override;

private:
    double m_adThermal[4]{};
};

}  // namespace vxt
