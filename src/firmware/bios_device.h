// The firmware's identity.
#pragma once

#include <vxtapi/bios.h>

#include <array>
#include <span>
#include <string_view>

#include "devices/framework/device_base.h"
#include "hw/wmi_handler.h"

namespace vxt {

class CDefaultBIOS final : public CDeviceBase<vxtapi::CBIOS> {
public:
    /// Over a connection to kSystemNamespace, which must outlive the device.
    explicit CDefaultBIOS(CWmiHandler& rWmi);
    bool Init(uint32_t uIndex) override;
    const wchar_t* GetModel() override { return m_szBIOSVersion.data(); }
    const wchar_t* GetDescription() override { return m_szDescription.data(); }
    const wchar_t* GetVendor() override { return m_szManufacturer.data(); }
    const wchar_t* GetSerialNumber() override { return m_szSerialNumber.data(); }
    const wchar_t* GetManufacturer() override { return m_szManufacturer.data(); }
    const wchar_t* GetBIOSVersion() override { return m_szBIOSVersion.data(); }
    const wchar_t* GetReleaseDate() override { return m_szReleaseDate.data(); }
    const char* GetRawDate() override { return m_szRawDate.data(); }

private:
    using CText = std::array<wchar_t, 256>;
    struct CProperty;
    static const CProperty s_aProperties[];

    bool _ReadRawDate();

    CWmiHandler& m_rWmi;

    CText m_szSerialNumber{}, m_szManufacturer{}, m_szDescription{}, m_szBIOSVersion{}, m_szReleaseDate{};
    std::array<char, 256> m_szRawDate{};
};

/// Release date of the BIOS device that was initialised last; empty before.
const wchar_t* g_GetBIOSReleaseDate();

/// The date in a BIOS area (see docs/firmware.md); empty when there is none.
std::string_view g_FindBiosDate(std::string_view sArea);

}  // namespace vxt
