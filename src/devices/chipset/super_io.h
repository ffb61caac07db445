// What the board's Super I/O chips have in common: how they are found, and the way to their hardware monitor.
#pragma once

#include <vxtapi/environment_controller.h>

#include <array>
#include <span>

#include "devices/chipset/sensor_series.h"
#include "devices/framework/device_base.h"

namespace vxt {

/// What a chip's monitor measures and drives, as far as its class has a rule for it.
struct CSuperIoMap {
    CSensorSeries Duties, Tachometers = {}, Temperatures = {}, Voltages = {}, StartLimits = {};
};

/// A chip that a class drives.
struct CSuperIoChip {
    uint16_t usId;  ///< registers 20h (high) and 21h of the configuration
    const wchar_t* pszModel;
    const CSuperIoMap& rMap;
};

/// What tells one class of chips from another.
struct CSuperIoRules {
    const char* pszClass;
    CDeviceIdentity Identity;  ///< its description is the one before a chip is found
    std::span<const CSuperIoChip> Chips;
};

/// The way to a chip, and the answers of one that can do nothing. Takes no lock: the register pairs are the callers' to keep
/// together.
class CSuperIo : public CDeviceBase<vxtapi::CEnvironmentController> {
public:
    static constexpr uint16_t kPorts[] = {0x2E, 0x4E};  ///< of the configuration, in search order

    const wchar_t* GetModel() override { return m_szName[0] ? m_pChip->pszModel : CDeviceBase::GetModel(); }
    const wchar_t* GetDescription() override { return m_szName[0] ? m_szName.data() : CDeviceBase::GetDescription(); }

    bool GetCurrentFanSpeedPercentage(int32_t, uint32_t*) override { return false; }
    bool SetCurrentFanSpeedPercentage(int32_t, uint32_t) override { return false; }
    uint32_t GetCurrentFanSpeed(int32_t) override { return kNoReading; }
    uint32_t GetCurrentTemperature(int32_t) override { return kNoReading; }
    double GetCurrentVoltage(int32_t) override { return -9999.0; }
    bool GetTemperatureLimitOfFanStart(int32_t, int32_t*) override { return false; }
    bool SaveFanControl(int32_t, uint32_t*) override { return false; }
    bool RestoreFanControl(int32_t, uint32_t) override { return false; }

protected:
    CSuperIo(CDriverHandler& rDriver, const CSuperIoRules& rRules);
    ~CSuperIo() = default;

    const char* LogClass() const { return m_rRules.pszClass; }

    /// Of the chip that was found; before, of the first that the class drives.
    const CSuperIoMap& Map() const { return m_pChip->rMap; }
    /// Registers of the hardware monitor.
    CPortPair Monitor() const { return {m_rDriver, static_cast<uint16_t>(m_usBaseAddr + 5)}; }

    /// Takes model and name of the chip with that number. False: the class does not drive it.
    bool TakeName(uint16_t usId);
    /// The monitor's place, from the chip that was found. The place is a multiple of `usAlignment`, whatever its lower bits
    /// say. Text of the failed check; null: the place is known, or the monitor is switched off, which is logged.
    const char* FindMonitor(uint16_t usAlignment = 1);

    static constexpr uint8_t kChipIdRegister = 0x20;

    CDriverHandler& m_rDriver;
    uint16_t m_usPort = 0;      ///< of the configuration; 0: no chip found
    uint16_t m_usBaseAddr = 0;  ///< of the monitor; 0: not found

private:
    const CSuperIoRules& m_rRules;
    const CSuperIoChip* m_pChip;
    std::array<wchar_t, 32> m_szName{};  ///< empty until a chip has told its number
};

}  // namespace vxt
