#include "firmware/bios_device.h"

#include "api/log/log_checks.h"
#include "firmware/wmi_values.h"
#include "platform/physical_section.h"

namespace vxt {

namespace {

constexpr CDeviceIdentity kIdentity{.eType = vxtapi::kDeviceBios, .pszName = L"Default BIOS"};
constexpr const wchar_t* kClass = L"Win32_BIOS";

// Kept: all but the last byte of the segment. The classic date stands at FFFF5h.
constexpr uint64_t kAreaAddress = 0xF0000;
constexpr uint32_t kAreaSize = 65'535;

std::array<wchar_t, 256> s_szReleaseDate{};

}  // namespace

struct CDefaultBIOS::CProperty {
    const wchar_t* pszName;
    CText CDefaultBIOS::*pText;
};
/// In reading order.
const CDefaultBIOS::CProperty CDefaultBIOS::s_aProperties[] = {
    {L"SerialNumber", &CDefaultBIOS::m_szSerialNumber}, {L"Manufacturer", &CDefaultBIOS::m_szManufacturer},
    {L"Description", &CDefaultBIOS::m_szDescription},   {L"SMBIOSBIOSVersion", &CDefaultBIOS::m_szBIOSVersion},
    {L"ReleaseDate", &CDefaultBIOS::m_szReleaseDate},
};

CDefaultBIOS::CDefaultBIOS(CWmiHandler& rWmi) : CDeviceBase(kIdentity), m_rWmi(rWmi) {}

bool CDefaultBIOS::Init(uint32_t uIndex) {
    const platform::CWmiObject pInstance = m_rWmi.GetInstance(kClass, static_cast<int32_t>(uIndex));
    if (!pInstance) return false;
    for (const auto& [pszName, pText] : s_aProperties) {
        platform::WmiValue Value;
        bool bRetCode = m_rWmi.GetPropertyValue(pInstance, pszName, &Value);
        LOG_PROCESS_ERROR(bRetCode);
        if (std::holds_alternative<platform::CWmiNull>(Value)) continue;
        const auto* const psText = std::get_if<std::wstring>(&Value);
        bRetCode = psText;
        LOG_PROCESS_ERROR(bRetCode);
        g_CopyText<wchar_t>(*psText, this->*pText);
    }
    s_szReleaseDate = m_szReleaseDate;
    const bool bRetCode = _ReadRawDate();
    LOG_PROCESS_ERROR(bRetCode);
    m_uIndex = uIndex;
    return true;
}

/// Kept: true also where the system does not show physical memory; the date then stays empty.
bool CDefaultBIOS::_ReadRawDate() {
    const platform::CPhysicalView View = platform::MapPhysicalSection(kAreaAddress, kAreaSize);
    if (!View) return true;
    // NOLINTNEXTLINE(performance-no-int-to-ptr): the view's handle is its address
    g_CopyText<char>(g_FindBiosDate({reinterpret_cast<const char*>(View.Get()), kAreaSize}), m_szRawDate);
    return true;
}

const wchar_t* g_GetBIOSReleaseDate() { return s_szReleaseDate.data(); }

std::string_view g_FindBiosDate(std::string_view sArea) {
    constexpr size_t kShort = 8, kLong = 10, kFirstSeparator = 2, kSecondSeparator = 5;  // "MM/DD/YY", "MM/DD/YYYY"
    const auto IsDigit = [&](size_t uAt) { return uAt < sArea.size() && sArea[uAt] >= '0' && sArea[uAt] <= '9'; };
    for (const char cSeparator : {'/', '-', '.'}) {
        for (size_t uSeparator = sArea.find(cSeparator); uSeparator != sArea.npos;
             uSeparator = sArea.find(cSeparator, uSeparator + 1)) {
            const size_t uBegin =
                uSeparator - kFirstSeparator;  // wraps round at the area's first bytes: no digits there
            if (!IsDigit(uBegin) || !IsDigit(uBegin + 1) || !IsDigit(uBegin + 3) || !IsDigit(uBegin + 4) ||
                !IsDigit(uBegin + 6) || !IsDigit(uBegin + 7) || sArea[uBegin + kSecondSeparator] != cSeparator)
                continue;
            return sArea.substr(uBegin, IsDigit(uBegin + 8) && IsDigit(uBegin + 9) ? kLong : kShort);
        }
    }
    return {};
}

}  // namespace vxt
