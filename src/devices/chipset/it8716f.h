// ITE IT8716F, IT8718F and IT8720F.
#pragma once

#include "devices/chipset/super_io.h"

namespace vxt {

class CIT8716F final : public CSuperIo {
public:
    explicit CIT8716F(CDriverHandler& rDriver);
    bool Init(uint32_t uIndex) override;
    bool GetCurrentFanSpeedPercentage(int32_t nFan, uint32_t* puPercent) override;
    bool SetCurrentFanSpeedPercentage(int32_t nFan, uint32_t uPercent) override;
    uint32_t GetCurrentFanSpeed(int32_t nFan) override;
    bool GetTemperatureLimitOfFanStart(int32_t nZone, int32_t* pnCelsius) override;
    bool SaveFanControl(int32_t nFan, uint32_t* puState) override;
    bool RestoreFanControl(int32_t nFan, uint32_t uState) override;

private:
    bool _Find_IT8716F(uint16_t usPort);
    /// From the chip that was found to its monitor. Logs under Init.
    bool _PrepareMonitor();
    /// Gives the fan a duty (true) or an on/off switch.
    bool _SetMode(int32_t nFan, bool bDuty);

    std::array<bool, 3> m_abWideCounters{};  ///< by fan: its tachometer has 16 bits
};

}  // namespace vxt
