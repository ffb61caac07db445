#include "devices/peripherals/device_controller.h"

#include <algorithm>
#include <optional>

#include "api/log/log_checks.h"
#include "devices/framework/device_list_file.h"

namespace vxt {

namespace {

constexpr std::wstring_view kPci = L"PCI\\";
/// The two halves of an IDE controller, which the system's driver lists as devices of the controllers' class behind it.
constexpr std::wstring_view kIdeChannels = L"PCIIDE\\";
constexpr size_t kNumberDigits = 4, kClassDigits = 6, kSubclassDigits = 4;

/// The number of so many hexadecimal digits behind a mark of a PCI device's ID ("PCI\VEN_1002&DEV_4391&CC_0106").
std::optional<uint32_t> g_PciNumber(std::wstring_view sId, std::wstring_view sMark, size_t uDigits) {
    if (!g_BeginsWith(sId, kPci)) return std::nullopt;
    const size_t uMark = sId.find(sMark);
    if (uMark == sId.npos) return std::nullopt;
    uint32_t uNumber = 0;
    size_t uTaken = 0;
    for (const wchar_t ch : sId.substr(uMark + sMark.size(), uDigits)) {
        const wchar_t chSmall = ch | 0x20;
        const bool bLetter = chSmall >= L'a' && chSmall <= L'f';
        if (!bLetter && (ch < L'0' || ch > L'9')) break;
        uNumber = uNumber << 4 | static_cast<uint32_t>(bLetter ? chSmall - L'a' + 10 : ch - L'0');
        ++uTaken;
    }
    return uTaken == uDigits ? std::optional(uNumber) : std::nullopt;
}

/// Class, subclass and interface by any of the device's IDs; 0 where none tells. Those without an interface count where no
/// other does.
uint32_t g_ClassCode(const platform::CDeviceList& rList, uint32_t uDevice) {
    uint32_t uClassCode = 0;
    for (const auto eIds : {platform::EDeviceIds::kCompatible, platform::EDeviceIds::kHardware}) {
        std::vector<std::wstring> Ids;
        if (!platform::GetDeviceIds(rList, uDevice, eIds, Ids)) continue;
        for (const std::wstring& sId : Ids) {
            if (const auto ouWhole = g_PciNumber(sId, L"CC_", kClassDigits)) return *ouWhole;
            if (const auto ouSubclass = g_PciNumber(sId, L"CC_", kSubclassDigits)) uClassCode = *ouSubclass << 8;
        }
    }
    return uClassCode;
}

}  // namespace

bool CSystemController::_IsOfKind(std::wstring_view sId, uint32_t uClassCode) const {
    const bool bIsOne = std::ranges::find(m_rKind.Classes, uClassCode >> 8) != m_rKind.Classes.end();
    return bIsOne != m_rKind.bOthers && !g_BeginsWith(sId, kIdeChannels);
}

bool CSystemController::Init(uint32_t uIndex) {
    const platform::CDeviceList hList = platform::OpenDeviceList(m_rKind.eSetupClass);
    LOG_PROCESS_ERROR(hList);
    uint32_t uFound = 0;
    for (uint32_t uDevice = 0; g_ReadTreeDevice(hList, uDevice, m_Device); ++uDevice) {
        const std::wstring_view sId = m_Device.Id.View();
        const uint32_t uClassCode = g_ClassCode(hList, uDevice);
        if (!_IsOfKind(sId, uClassCode) || uFound++ != uIndex) continue;
        m_uIndex = uIndex;
        m_Info = {.uPciVendor = g_PciNumber(sId, L"VEN_", kNumberDigits).value_or(0),
                  .uPciDevice = g_PciNumber(sId, L"DEV_", kNumberDigits).value_or(0),
                  .uClassCode = uClassCode};
        m_Watch.SetDevice(sId);
        return true;
    }
    return false;
}

bool CSystemController::UnInit() {
    m_Watch.Stop();
    return true;
}

bool CSystemController::RefreshDevices() {
    const bool bRetCode = m_Watch.Look();
    LOG_PROCESS_ERROR(bRetCode);
    return true;
}

bool CSystemController::GetControllerInfo(vxtapi::ControllerInfo* pInfo) {
    LOG_PROCESS_ERROR(pInfo);
    *pInfo = m_Info;
    return true;
}

uint32_t CSystemController::GetAttachedCount() {
    const bool bRetCode = m_Watch.Begin();
    LOG_CHECK_ERROR(bRetCode);
    return m_Watch.Count();
}

bool CSystemController::GetAttached(uint32_t uDevice, vxtapi::AttachedDevice* pDevice) {
    LOG_PROCESS_ERROR(pDevice);
    const bool bRetCode = m_Watch.Begin();
    LOG_CHECK_ERROR(bRetCode);
    return m_Watch.Get(uDevice, *pDevice);
}

}  // namespace vxt
