// The clock generator: every clock goes through the firmware.
#pragma once

#include <vxtapi/clock_generator.h>

#include <memory>

#include "devices/framework/device_base.h"

namespace vxt {

class CDefaultClockGen final : public CDeviceBase<vxtapi::CClockGenerator> {
public:
    CDefaultClockGen();
    bool Init(uint32_t uIndex) override;
    bool UnInit() override;
    double GetExternalClock() override;
    double GetPCIeClock() override;
    double GetThirdClock() override;
    bool SetExternalClock(double dMHz) override;
    bool SetPCIeClock(double dMHz) override;
    bool SetThirdClock(double dMHz) override;
    bool GetExternalClockList(double* pdValues, uint32_t& ruSize) override;
    bool GetPCIeClockList(double* pdValues, uint32_t& ruSize) override;
    bool GetClockLimits(eClock eWhich, vxtapi::FirmwareLimits* pLimits) override;

private:
    using CValues = std::unique_ptr<double[]>;

    // From the capability pack: the firmware offers no list for this clock.
    bool m_bNoExtFreqList = true, m_bNoPCIeFreqList = true, m_bNoThirdFreqList = true;
    int32_t m_nExtFreqCount = 0;
    CValues m_pdExtFreqs;  ///< MHz
    int32_t m_nPCIeFreqCount = 0;
    CValues m_pdPCIeFreqs;
};

}  // namespace vxt
