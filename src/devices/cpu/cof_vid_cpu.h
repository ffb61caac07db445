// Families 10h and 11h: clock and voltage through the COFVID registers and P-state definitions.
#pragma once

#include "devices/cpu/family_cpu.h"

namespace vxt {

/// The register model both families share. Every operation pins the calling thread to the core.
class CCofVidCPU : public CFamilyCPU {
public:
    double GetCurrentMultiplier() override;
    const void* GetThermTrip() override;
    bool GetPstate(uint32_t uStateIndex, vxtapi::CPstate* pPstate) override;
    bool SetPstate(uint32_t uStateIndex, const vxtapi::CPstate* pPstate) override;
    uint32_t GetCurPstate() override;
    bool SetCurPstate(uint32_t uStateIndex) override;
    uint32_t GetMaxPstate() override;

protected:
    using CFamilyCPU::CFamilyCPU;

    const char* _StartTransition(const CMsrWords& rNow, CMsrWords Wanted) override;
    /// Multiplier that the FID and DID of a control, status or definition register give.
    double _Multiplier(const CMsrWords& rWords) const;
    /// V; 0.0 where the status register names no limit.
    static double _VoltageLimit(const CRegisterField& rVid, const CMsrWords& rStatus);

    double m_dTemperature = 0.0;

private:
    // Text of the failed check; null when there is none.
    const char* _CheckStateIndex(uint32_t uStateIndex) const;
    const char* _WriteAndWait(const CMsrWords& rControl) const;
};

/// Family 10h. Transitions are waited for, about one second at most for each of their two steps.
class CBrevikCPU : public CCofVidCPU {
public:
    CBrevikCPU(CDriverHandler& rDriver, CSystemTables& rTables, const cpu::CCpuRules& rRules = cpu::kFamily10hRules)
        : CCofVidCPU(rDriver, rTables, rRules) {}
    /// Rounded down to what a whole frequency ID can express with the smallest divisor that fits; 0.5 to 31.
    bool SetCurrentMultiplier(double dMultiplier) override;
    double GetCurrentNBMultiplier() override;
    double GetCurrentNBVoltage() override;
    bool SetCurrentNBVoltage(double dVoltage) override;
    /// A double in degrees Celsius: the processor's own reading, else its SMBus sensor's.
    const void* GetThermTrip() override;
    /// Two switches that profiles know as clock divisor ("supported": the clock is not divided in halt) and TLB caching
    /// ("enabled").
    bool GetBoostState(bool* pbSupported, bool* pbEnabled) override;
    bool SetBoostState(bool bFirst, bool bSecond) override;
    /// Whether the time-stamp counter ticks at one rate in every P-state, as far as Init could tell.
    bool HasSteadyTsc() const { return m_bSteadyTsc; }

protected:
    bool _GetFVInfo() override;
    bool _CheckTSC() override;
    /// The temperature sensor interface: a byte register of the processor's slave on the SMBus.
    bool _ReadSBTSIRegister(uint8_t ucRegister, uint8_t& rucValue) const;

private:
    bool m_bSteadyTsc = true;
};

/// Family 11h. Transitions are started and not waited for.
class CTalvorCPU : public CCofVidCPU {
public:
    CTalvorCPU(CDriverHandler& rDriver, CSystemTables& rTables, const cpu::CCpuRules& rRules = cpu::kFamily11hRules)
        : CCofVidCPU(rDriver, rTables, rRules) {}
    bool SetCurrentMultiplier(double dMultiplier) override;

protected:
    bool _GetFVInfo() override;
    /// Whether the time-stamp counter ticks at the P-state 0 clock in every P-state. False before Init.
    bool _CheckTscFreqSel();
};

}  // namespace vxt
