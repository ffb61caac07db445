// The processor core without family knowledge.
#pragma once

#include <vxtapi/cpu.h>

#include <array>

#include "devices/framework/device_base.h"
#include "hw/physical_mapping.h"
#include "platform/cpuid.h"

namespace vxt {

/// What CPUID says of the caches; every number as the processor encodes it.
struct CCacheInfo {
    std::array<double, 4> adL1Tlb;   ///< data: ways, entries; code: ways, entries
    std::array<double, 4> adL1Data;  ///< KB, ways, lines per tag, line size
    double dL2Size;                  ///< KB
    double dL2Associativity, dL2LinesPerTag, dL2LineSize;
};

/// A processor core: identification texts, timers and usage. Operations that need family knowledge answer 0 or false.
class CCPU : public CDeviceBase<vxtapi::CCPU> {
public:
    /// Both must outlive the device.
    CCPU(CDriverHandler& rDriver, CSystemTables& rTables);

    /// Sets up the timers: the power-management timer's port and the local APIC, from the firmware's tables.
    bool Init(uint32_t uIndex) override;
    bool UnInit() override;
    const wchar_t* GetModel() override { return m_szBrand.data(); }
    const wchar_t* GetDescription() override { return m_szDescription.data(); }
    const wchar_t* GetVendor() override { return m_szVendor.data(); }

    uint32_t GetFamily() override { return m_uFamily; }
    uint32_t GetExtendedFamily() override { return m_uExtendedFamily; }
    uint32_t GetModelNumber() override { return m_uModel; }
    uint32_t GetExtendedModel() override { return m_uExtendedModel; }
    uint32_t GetStepping() override { return m_uStepping; }
    float GetCurrentClock() override;
    double GetCurrentUsage() override;
    double GetCurrentVoltage() override { return 0.0; }
    double GetStartVoltage() override { return 0.0; }
    double GetMaxRampVoltage() override { return 0.0; }
    bool SetCurrentVoltage(double) override { return false; }
    double GetCurrentMultiplier() override { return 0.0; }
    double GetMaxMultiplier() override { return 0.0; }
    bool SetCurrentMultiplier(double) override { return false; }
    double GetCurrentNBMultiplier() override { return 0.0; }
    double GetCurrentNBVoltage() override { return 0.0; }
    bool SetCurrentNBVoltage(double) override { return false; }
    const void* GetThermTrip() override { return nullptr; }
    bool GetPstate(uint32_t, vxtapi::CPstate*) override { return false; }
    bool SetPstate(uint32_t, const vxtapi::CPstate*) override { return false; }
    uint32_t GetCurPstate() override { return kNoPstate; }
    bool SetCurPstate(uint32_t) override { return false; }
    uint32_t GetMaxPstate() override { return 0; }
    bool GetBoostState(bool* pbSupported, bool* pbEnabled) override;
    bool SetBoostState(bool, bool) override { return false; }
    bool IsMultiplierLimited() override { return m_bMultiplierLimited; }
    bool GetSecondCapability() override { return m_bHalfSteps; }

    // Places in the interface that nothing uses.
    uint32_t Reserved15() override { return 0; }
    uint32_t Reserved16() override { return 0; }
    uint32_t Reserved17() override { return 0; }
    uint32_t Reserved18() override { return 0; }
    uint32_t Reserved20() override { return 0; }
    uint32_t Reserved24() override { return 0; }
    uint32_t Reserved25() override { return 0; }
    uint32_t Reserved30() override { return 0; }
    uint32_t Reserved33() override { return 0; }
    uint32_t Reserved36() override { return 0; }
    uint32_t Reserved37() override { return 0; }
    uint32_t Reserved38() override { return 0; }
    uint32_t Reserved39() override { return 0; }
    uint32_t Reserved50() override { return 0; }
    uint32_t Reserved51() override { return 0; }

    /// Reference clock in MHz, measured with the local APIC timer of the processor that the thread runs on against the
    /// power-management timer: takes 5.6 ms. 0 without the timers.
    double MeasureReferenceClock();
    /// Hz at the rated maximum multiplier and a 200 MHz reference.
    double GetNominalFrequency() const { return m_dNominalFrequency; }
    /// Whether CPUID reported the bit, e.g. (1, &CCpuidRegisters::uEdx, 25). Only the feature table's bits are kept.
    bool HasFeature(uint32_t uLeaf, uint32_t platform::CCpuidRegisters::*pRegister, uint32_t uBit) const;
    const CCacheInfo& GetCaches() const { return m_Caches; }

protected:
    static constexpr size_t kTextSize = 256;
    static constexpr uint32_t kNoPstate = 0xFFFFFFFF;

    CCPU(const CDeviceIdentity& rIdentity, CDriverHandler& rDriver, CSystemTables& rTables)
        : CDeviceBase(rIdentity), m_rDriver(rDriver), m_rTables(rTables) {}

    static uint32_t _GetProcessorCount();
    void _ReadVendor();
    bool _ReadBrand();
    void _ReadSignature();
    void _ReadFeatures();
    void _ReadCaches();

    CDriverHandler& m_rDriver;
    std::array<wchar_t, kTextSize> m_szBrand{}, m_szDescription{}, m_szVendor{};
    uint32_t m_uFamily = 0, m_uExtendedFamily = 0, m_uModel = 0, m_uExtendedModel = 0, m_uStepping = 0;
    bool m_bMultiplierLimited = true;
    bool m_bHalfSteps = false;  ///< the multiplier moves by 0.5 (100 MHz)
    double m_dNominalFrequency = 0.0;

private:
    bool _ReadPmTimer(uint32_t& ruTicks) const;

    CSystemTables& m_rTables;
    std::array<uint32_t, 5> m_auFeatures{};  ///< the kept bits, row by row of the feature table
    CCacheInfo m_Caches{};
    uint16_t m_usPmTimerPort = 0;
    CPhysicalMapping m_ApicTimers;
    uint64_t m_ullIdleTime = 0;  ///< 100 ns units, at the previous usage reading
    uint32_t m_uTickCount = 0;   ///< ms, likewise
};

}  // namespace vxt
