// The processor core.
#pragma once

#include <vxtapi/device.h>

namespace vxtapi {

/// One hardware P-state definition of a family 10h processor (MSR C001_0064h + number), all fields as numbers.
struct CPstate {
    double dCpuFid;         ///< bits 5:0
    double dCpuDid;         ///< bits 8:6
    double dCpuVid;         ///< bits 15:9
    double dNbDid;          ///< bit 22
    double dNbVid;          ///< bits 31:25
    double dIddDiv;         ///< bits 41:40
    double dPstateEn;       ///< bit 63
    double dUnused;         ///< always 0
    double dCoreFrequency;  ///< MHz at a 200 MHz reference; kept: floor((FID + 16) / 2^DID) * 100
    double dCoreVoltage;    ///< V
    double dNbFrequency;    ///< MHz at a 200 MHz reference
    double dNbVoltage;      ///< V
    uint8_t bPstateEn;      ///< bit 63 again: 0 or 1
};

/// One processor core: device type 0, index = core number. Operations in slots 10 to 52.
///
/// Failures: getters return 0, setters false; the log tells why. A family that lacks an operation answers the same way.
/// Threads: every operation that touches a core's registers pins the calling thread to that core and leaves it pinned:
/// call them from a thread of your own if that matters. Setting a multiplier or voltage may block:
/// about one second at most per step on family 10h; on K8 revision F there is NO limit (the core is polled until its
/// transition ends), so never call those setters from a thread that has to stay responsive.
class CCPU : public CDevice {
public:
    // CPUID function 1 EAX, as the hardware gives them (base and extended parts are not added).
    virtual uint32_t GetFamily() = 0;          ///< slot 10: bits 11:8
    virtual uint32_t GetExtendedFamily() = 0;  ///< slot 11: bits 27:20
    virtual uint32_t GetModelNumber() = 0;     ///< slot 12: bits 7:4
    virtual uint32_t GetExtendedModel() = 0;   ///< slot 13: bits 19:16
    virtual uint32_t GetStepping() = 0;        ///< slot 14: bits 3:0
    virtual uint32_t Reserved15() = 0;
    virtual uint32_t Reserved16() = 0;
    virtual uint32_t Reserved17() = 0;
    virtual uint32_t Reserved18() = 0;
    /// Slot 19: core clock in MHz: current multiplier times the reference clock, which is measured anew (5 to 10 ms).
    virtual float GetCurrentClock() = 0;
    virtual uint32_t Reserved20() = 0;
    /// Slot 21: percent busy since the previous call on this core; the first call has no earlier reading to compare.
    virtual double GetCurrentUsage() = 0;
    virtual double GetCurrentVoltage() = 0;  ///< slot 22: V
    virtual double GetStartVoltage() = 0;    ///< slot 23: V after reset
    virtual uint32_t Reserved24() = 0;
    virtual uint32_t Reserved25() = 0;
    virtual double GetMaxRampVoltage() = 0;  ///< slot 26: V
    /// Slot 27: requests a core voltage in V. A value that is not in the family's table changes nothing and is not an
    /// error: read back to learn what the hardware took.
    virtual bool SetCurrentVoltage(double dVoltage) = 0;
    virtual double GetCurrentMultiplier() = 0;  ///< slot 28: core clock / reference clock
    /// Slot 29: rated limit. Family 11h: 0 where the processor names none.
    virtual double GetMaxMultiplier() = 0;
    virtual uint32_t Reserved30() = 0;
    /// Slot 31: requests a multiplier. Values the hardware cannot express are rounded or ignored by family rules.
    virtual bool SetCurrentMultiplier(double dMultiplier) = 0;
    virtual double GetCurrentNBMultiplier() = 0;  ///< slot 32: north-bridge clock / reference clock (family 10h)
    virtual uint32_t Reserved33() = 0;
    virtual double GetCurrentNBVoltage() = 0;  ///< slot 34: V (family 10h)
    /// Slot 35: requests a north-bridge voltage in V (family 10h). As SetCurrentVoltage; it is for this core, and the hardware
    /// uses one voltage for all: ask every core for the same.
    virtual bool SetCurrentNBVoltage(double dVoltage) = 0;
    virtual uint32_t Reserved36() = 0;
    virtual uint32_t Reserved37() = 0;
    virtual uint32_t Reserved38() = 0;
    virtual uint32_t Reserved39() = 0;
    /// Slot 40: address of the stored thermal number, overwritten by the next call; null on failure. An int32_t offset
    /// on the first K8 generation, a double in degrees Celsius on every other family.
    virtual const void* GetThermTrip() = 0;
    /// Slot 41: reads P-state definition `uPstate`, 0 to GetMaxPstate.
    virtual bool GetPstate(uint32_t uPstate, CPstate* pPstate) = 0;
    /// Slot 42: writes the stored fields (FID, DID, VID, NB DID, NB VID, Idd divisor, enable bit) of definition `uPstate`;
    /// false before any write when one does not fit its bits. Clocks, voltages and the flag at the end are ignored.
    virtual bool SetPstate(uint32_t uPstate, const CPstate* pPstate) = 0;
    virtual uint32_t GetCurPstate() = 0;              ///< slot 43: 0xFFFFFFFF on failure
    virtual bool SetCurPstate(uint32_t uPstate) = 0;  ///< slot 44
    virtual uint32_t GetMaxPstate() = 0;              ///< slot 45: highest P-state number
    /// Slot 46: false into both where the family has no such switch.
    virtual bool GetBoostState(bool* pbSupported, bool* pbEnabled) = 0;
    virtual bool SetBoostState(bool bFirst, bool bSecond) = 0;  ///< slot 47
    /// Slot 48: the rated maximum multiplier is a real limit: the multiplier is locked. Family 0Fh: unless the status register's
    /// maximum FID is 2Ah, all multipliers; families 10h and 11h: unless the COFVID status register names no maximum.
    virtual bool IsMultiplierLimited() = 0;
    /// Slot 49: the multiplier moves by halves. K8 revision F: CPUID 8000_0007h EDX bit 6, 100 MHz steps. False elsewhere:
    /// families 10h and 11h, whose registers know halves, too, are raised by whole steps.
    virtual bool GetSecondCapability() = 0;
    virtual uint32_t Reserved50() = 0;
    virtual uint32_t Reserved51() = 0;
    virtual ~CCPU() = default;  ///< slot 52
};

}  // namespace vxtapi
