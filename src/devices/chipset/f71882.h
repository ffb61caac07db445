// Fintek F71882 and F71889.
#pragma once

#include "devices/chipset/super_io.h"

namespace vxt {

/// Kept: the chip stays in configuration mode once it is found.
class CF71882 final : public CSuperIo {
public:
    explicit CF71882(CDriverHandler& rDriver);
    bool Init(uint32_t uIndex) override;
    bool GetCurrentFanSpeedPercentage(int32_t nFan, uint32_t* puPercent) override;
    bool SetCurrentFanSpeedPercentage(int32_t nFan, uint32_t uPercent) override;
    uint32_t GetCurrentTemperature(int32_t nIndex) override;
    double GetCurrentVoltage(int32_t nIndex) override;
    bool SaveFanControl(int32_t nFan, uint32_t* puState) override;
    bool RestoreFanControl(int32_t nFan, uint32_t uState) override;

private:
    bool _Find_F71882(uint16_t usPort);
    bool _ReadScales();

    std::array<bool, 3> m_abFlags{};       ///< of monitor register 0Ch
    std::array<uint32_t, 8> m_auScales{};  ///< by voltage; the last two stay 0
};

}  // namespace vxt
