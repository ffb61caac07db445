// The clock generator: every clock goes through the firmware.
#pragma once

#include <vxtapi/clock_generator.h>

#include <memory>

#include "devices/framework/device_base.h"
#include "firmware/bios_handler.h"

namespace vxt {

class CDefaultClockGen final : public CDeviceBase<vxtapi::CClockGenerator> {
public:
    /// Works over `rHandler`, which must outlive the device.
    explicit CDefaultClockGen(CQORBIOSHandler& rHandler);
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
    /// Legal clocks of one clock in MHz, as the firmware listed them.
    struct CClockList {
        bool bNotOffered = true;  ///< flag of the capability pack
        int32_t nCount = 0;
        std::unique_ptr<double[]> pdValues = {};

        bool Copy(double* pdInto, uint32_t& ruSize) const;
    };
    /// How a list is asked for, and the texts of its checks.
    struct CListRow;
    static const CListRow s_aLists[];

    CQORBIOSHandler& m_rQorBiosHandler;
    CClockList m_ExtFreqs, m_PCIeFreqs;
    bool m_bNoThirdList = true;  ///< nobody asks for that one
};

}  // namespace vxt
