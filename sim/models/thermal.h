// Temperature registers of the processor's north bridge (function 3).
#pragma once

#include <array>

#include "../machine.h"

namespace vxtsim {

/// K8 revision F, register E4h: bit 2 selects the core, bit 6 one of its two sensors, bits 23:16 show that sensor's
/// temperature plus 49 degrees. Nothing else can be written. All sensors begin with what the dump shows.
class CThermalSelect final : public CSimModel {
public:
    static constexpr CPciAddress kFunction{0, 0x18, 3};
    static constexpr uint32_t kRegister = 0xE4, kCore = 1u << 2, kSensor = 1u << 6;

    explicit CThermalSelect(CSimMachine& rMachine) : m_rMachine(rMachine) {
        const auto ucDumped = static_cast<uint8_t>(rMachine.PciDword(kFunction, kRegister) >> 16);
        m_aaucReading[0].fill(ucDumped), m_aaucReading[1].fill(ucDumped);
    }
    void SetCelsius(uint32_t uCore, uint32_t uSensor, int nCelsius) {
        m_aaucReading[uCore & 1][uSensor & 1] = static_cast<uint8_t>(nCelsius + 49);
    }

    bool ReadPci(CPciAddress Address, uint32_t uOffset, uint32_t& ruValue) override {
        if (Address != kFunction || uOffset != kRegister) return false;
        ruValue = m_rMachine.PciDword(Address, uOffset);
        ruValue = (ruValue & 0xFF00FFFF) | uint32_t{m_aaucReading[(ruValue & kCore) != 0][(ruValue & kSensor) != 0]}
                                               << 16;
        return true;
    }
    bool WritePci(CPciAddress Address, uint32_t uOffset, uint32_t uValue) override {
        if (Address != kFunction || uOffset != kRegister) return false;
        m_rMachine.SetPciDword(
            Address, uOffset,
            (m_rMachine.PciDword(Address, uOffset) & ~(kCore | kSensor)) | (uValue & (kCore | kSensor)));
        return true;
    }

private:
    CSimMachine& m_rMachine;
    std::array<std::array<uint8_t, 2>, 2> m_aaucReading;  ///< by core and sensor
};

/// Families 10h and 11h, register A4h: bits 31:21 are the temperature in eighths of a degree and cannot be written.
class CReadOnlyTemperature final : public CSimModel {
public:
    static constexpr CPciAddress kFunction{0, 0x18, 3};
    static constexpr uint32_t kRegister = 0xA4, kTemperature = 0xFFE00000;

    explicit CReadOnlyTemperature(CSimMachine& rMachine) : m_rMachine(rMachine) {}
    void SetCelsius(double dCelsius) {
        m_rMachine.SetPciDword(kFunction, kRegister, _Others() | (static_cast<uint32_t>(dCelsius * 8) << 21));
    }
    bool WritePci(CPciAddress Address, uint32_t uOffset, uint32_t uValue) override {
        if (Address != kFunction || uOffset != kRegister) return false;
        m_rMachine.SetPciDword(Address, uOffset,
                               (m_rMachine.PciDword(Address, uOffset) & kTemperature) | (uValue & ~kTemperature));
        return true;
    }

private:
    uint32_t _Others() const { return m_rMachine.PciDword(kFunction, kRegister) & ~kTemperature; }

    CSimMachine& m_rMachine;
};

}  // namespace vxtsim
