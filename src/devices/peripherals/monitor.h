// Monitors.
#pragma once

#include <vxtapi/monitor.h>

#include <vector>

#include "devices/framework/device_base.h"
#include "devices/peripherals/edid.h"
#include "devices/peripherals/tree_device.h"

namespace vxt {

inline constexpr CDeviceIdentity kDefaultMonitorIdentity{.eType = vxtapi::kDeviceMonitor,
                                                         .pszName = L"Default Monitor"};

class CDefaultMonitor final : public CDeviceBase<vxtapi::CMonitor> {
public:
    CDefaultMonitor() : CDeviceBase(kDefaultMonitorIdentity) {}
    bool Init(uint32_t uIndex) override;
    const wchar_t* GetModel() override { return m_Device.Name.Get(); }
    const wchar_t* GetDescription() override { return m_Description.Get(); }
    const wchar_t* GetVendor() override { return m_Vendor.Get(); }

    bool GetMonitorInfo(vxtapi::MonitorInfo* pInfo) override;
    const wchar_t* GetSerialText() override { return m_SerialText.Get(); }
    const wchar_t* GetInterface() override { return m_Interface.Get(); }
    const wchar_t* GetDeviceId() override { return m_Device.Id.Get(); }
    uint32_t GetModeCount() override { return m_Edid.ucModes; }
    bool GetMode(uint32_t uMode, vxtapi::MonitorMode* pMode) override;
    bool GetEdid(uint8_t* pucBytes, uint32_t& ruSize) override;

private:
    struct CSize {
        uint32_t uWidthMm = 0, uHeightMm = 0;
    };
    bool _ReadEdid(const platform::CDeviceList& rList);
    CSize _Size() const;
    void _Describe();

    CTreeDevice m_Device;
    std::vector<uint8_t> m_Image;
    CEdid m_Edid;
    CWideText<63> m_Description;
    CWideText<31> m_Vendor, m_SerialText, m_Interface;
};

}  // namespace vxt
