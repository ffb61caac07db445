#include "platform/device_tree.h"

#include <algorithm>

#include "platform/simulated/code_page.h"
#include "platform/simulated/simulated_system.h"
#include "platform/text.h"

namespace vxt::platform {

using simulated::CSimulatedSystem;
using simulated::CSystemSide;
using simulated::g_GetSystem;
using EHandle = CSimulatedSystem::EHandle;
using vxtsim::CPluggedDevice;

namespace {

constexpr uint32_t kErrorInvalidData = 13;            // ERROR_INVALID_DATA: no such property
constexpr uint32_t kErrorMoreData = 234;              // ERROR_MORE_DATA
constexpr uint32_t kErrorNoSuchDevice = 0xE000'020B;  // ERROR_NO_SUCH_DEVINST
constexpr const wchar_t* kImageValue = L"EDID";       // the one value that the PC's devices keep

/// Setup classes by the names that machine files have for them, in the order of ESetupClass.
constexpr std::string_view kClassNames[] = {"", "hdc", "usb", "keyboard", "mouse", "monitor"};

using CSnapshot = std::vector<const CPluggedDevice*>;  ///< the machine's description outlives every handle

/// As the registry sorts keys: level by level, whatever the letter case.
std::string g_SortKey(const CPluggedDevice* pDevice) {
    std::string sKey = pDevice->sId;
    std::ranges::transform(sKey, sKey.begin(), [](char ch) {
        if (ch == '\\') return '\0';
        return ch >= 'a' && ch <= 'z' ? static_cast<char>(ch - 'a' + 'A') : ch;
    });
    return sKey;
}

/// Device `uIndex` of the list; null, and the reason, beyond the last one.
const CPluggedDevice* g_Listed(const CDeviceList& rList, uint32_t uIndex) {
    const auto pSnapshot = g_GetSystem().State<CSnapshot>(rList.Get(), EHandle::kDeviceList);
    if (!pSnapshot) return nullptr;
    if (uIndex < pSnapshot->size()) return (*pSnapshot)[uIndex];
    g_GetSystem().Fail(kErrorNoMoreItems);
    return nullptr;
}

/// The same of a device that is still there.
const CPluggedDevice* g_Present(const CDeviceList& rList, uint32_t uIndex) {
    const CPluggedDevice* const pDevice = g_Listed(rList, uIndex);
    if (!pDevice || pDevice->IsThere(simulated::g_GetMachine().Uptime())) return pDevice;
    g_GetSystem().Fail(kErrorNoSuchDevice);
    return nullptr;
}

bool g_Answer(const std::string& sText, std::wstring& rsText) {
    if (sText.empty()) return g_GetSystem().Fail(kErrorInvalidData) != 0;
    rsText = simulated::g_Wide(sText);
    return true;
}

}  // namespace

void CloseDeviceList(uintptr_t uHandle) { g_GetSystem().Close(uHandle); }

CDeviceList OpenDeviceList(ESetupClass eClass) {
    const CSystemSide SystemSide;
    CSimulatedSystem& rSystem = g_GetSystem();
    if (rSystem.Refuses("OpenDeviceList")) return {};
    const std::string_view sClass = kClassNames[static_cast<size_t>(eClass)];
    const uint64_t ullNow = simulated::g_GetMachine().Uptime();
    auto pSnapshot = std::make_shared<CSnapshot>();
    for (const CPluggedDevice& rDevice : simulated::g_GetMachine().Description().Devices)
        if (rDevice.IsThere(ullNow) && (eClass == ESetupClass::kAnyDevice || rDevice.sClass == sClass))
            pSnapshot->push_back(&rDevice);
    std::ranges::sort(*pSnapshot, {}, g_SortKey);
    return CDeviceList(rSystem.Open(EHandle::kDeviceList, L"", std::move(pSnapshot)));
}

bool GetDeviceId(const CDeviceList& rList, uint32_t uIndex, std::wstring& rsId) {
    const CSystemSide SystemSide;
    if (g_GetSystem().Refuses("GetDeviceId")) return false;
    const CPluggedDevice* const pDevice = g_Listed(rList, uIndex);  // the list itself has the ID
    return pDevice && g_Answer(pDevice->sId, rsId);
}

bool GetDeviceText(const CDeviceList& rList, uint32_t uIndex, EDeviceText eText, std::wstring& rsText) {
    constexpr std::string CPluggedDevice::*kTexts[] = {&CPluggedDevice::sDescription, &CPluggedDevice::sFriendlyName,
                                                       &CPluggedDevice::sManufacturer, &CPluggedDevice::sClass};
    const CSystemSide SystemSide;
    if (g_GetSystem().Refuses("GetDeviceText")) return false;
    const CPluggedDevice* const pDevice = g_Present(rList, uIndex);
    return pDevice && g_Answer(pDevice->*kTexts[static_cast<size_t>(eText)], rsText);
}

bool GetDeviceIds(const CDeviceList& rList, uint32_t uIndex, EDeviceIds eIds, std::vector<std::wstring>& rIds) {
    const CSystemSide SystemSide;
    if (g_GetSystem().Refuses("GetDeviceIds")) return false;
    const CPluggedDevice* const pDevice = g_Present(rList, uIndex);
    if (!pDevice) return false;
    const auto& rFound = eIds == EDeviceIds::kHardware ? pDevice->HardwareIds : pDevice->CompatibleIds;
    if (rFound.empty()) return g_GetSystem().Fail(kErrorInvalidData) != 0;
    rIds.clear();
    std::ranges::transform(rFound, std::back_inserter(rIds), simulated::g_Wide);
    return true;
}

bool GetDeviceParent(const CDeviceList& rList, uint32_t uIndex, std::wstring& rsParentId) {
    const CSystemSide SystemSide;
    if (g_GetSystem().Refuses("GetDeviceParent")) return false;
    const CPluggedDevice* const pDevice = g_Present(rList, uIndex);
    return pDevice && g_Answer(pDevice->sParent, rsParentId);
}

bool ReadDeviceValue(const CDeviceList& rList, uint32_t uIndex, const wchar_t* pszValue, std::span<std::byte> Data,
                     uint32_t& ruSize) {
    const CSystemSide SystemSide;
    CSimulatedSystem& rSystem = g_GetSystem();
    if (rSystem.Refuses("ReadDeviceValue")) return false;
    const CPluggedDevice* const pDevice = g_Present(rList, uIndex);
    if (!pDevice) return false;
    const bool bHas = pDevice->sClass == kClassNames[static_cast<size_t>(ESetupClass::kMonitor)] &&
                      !pDevice->Image.empty() && std::wstring_view(pszValue) == kImageValue;
    if (!bHas) return rSystem.Fail(kErrorFileNotFound) != 0;
    if (pDevice->Image.size() > Data.size()) return rSystem.Fail(kErrorMoreData) != 0;
    std::ranges::copy(std::as_bytes(std::span(pDevice->Image)), Data.begin());
    ruSize = static_cast<uint32_t>(pDevice->Image.size());
    return true;
}

}  // namespace vxt::platform
