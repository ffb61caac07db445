#include "platform/device_tree.h"

#include <algorithm>
#include <memory>
#include <new>
#include <string_view>

#include "platform/windows/windows_api.h"

// Behind windows_api.h, which they need.
#include <cfgmgr32.h>
#include <setupapi.h>

namespace vxt::platform {

namespace {

// Setup classes, in the order of ESetupClass.
constexpr GUID kClasses[] = {
    {},                                                                              // any
    {0x4D36E96A, 0xE325, 0x11CE, {0xBF, 0xC1, 0x08, 0x00, 0x2B, 0xE1, 0x03, 0x18}},  // HDC
    {0x36FC9E60, 0xC465, 0x11CF, {0x80, 0x56, 0x44, 0x45, 0x53, 0x54, 0x00, 0x00}},  // USB
    {0x4D36E96B, 0xE325, 0x11CE, {0xBF, 0xC1, 0x08, 0x00, 0x2B, 0xE1, 0x03, 0x18}},  // Keyboard
    {0x4D36E96F, 0xE325, 0x11CE, {0xBF, 0xC1, 0x08, 0x00, 0x2B, 0xE1, 0x03, 0x18}},  // Mouse
    {0x4D36E96E, 0xE325, 0x11CE, {0xBF, 0xC1, 0x08, 0x00, 0x2B, 0xE1, 0x03, 0x18}},  // Monitor
};
static_assert(std::size(kClasses) == size_t{static_cast<uint8_t>(ESetupClass::kMonitor)} + 1);

constexpr DEVPROPKEY kParent = {  // DEVPKEY_Device_Parent
    {0x4340A6C5, 0x93FA, 0x4706, {0x97, 0x2C, 0x7B, 0x64, 0x80, 0x08, 0xA5, 0xA7}},
    8};

/// Room for the longest text that there can be, so that one call reads any.
class CTextBuffer {
public:
    static constexpr DWORD kCharacters = 32768, kBytes = kCharacters * sizeof(wchar_t);  // of a UNICODE_STRING

    CTextBuffer() : m_pText(new (std::nothrow) wchar_t[kCharacters]) {
        if (!m_pText) SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    }
    explicit operator bool() const { return m_pText != nullptr; }
    wchar_t* Text() { return m_pText.get(); }
    BYTE* Bytes() { return reinterpret_cast<BYTE*>(m_pText.get()); }
    /// What a call put there. Half a character at the end is none.
    std::wstring_view Stored(DWORD dwBytes) const {
        return {m_pText.get(), std::min(dwBytes, kBytes) / sizeof(wchar_t)};
    }

private:
    std::unique_ptr<wchar_t[]> m_pText;
};

/// The first of the texts that stand behind each other, each with its zero; the registry keeps the last one without, too.
std::wstring_view g_FirstText(std::wstring_view sStored) {
    return sStored.substr(0, std::min(sStored.find(L'\0'), sStored.size()));
}

bool g_CopyText(std::wstring_view sStored, std::wstring& rsText) {
    return g_Fill([&] { rsText = g_FirstText(sStored); });
}

bool g_FailWith(DWORD dwError) {
    SetLastError(dwError);
    return false;
}

/// A device of a list, found anew for each question: the list owns it.
struct CListed {
    CListed(const CDeviceList& rList, uint32_t uIndex) : hList(g_ToHandle(rList.Get())) {
        Device.cbSize = sizeof(Device);
        bFound = SetupDiEnumDeviceInfo(hList, uIndex, &Device) != 0;
    }
    HDEVINFO hList;
    SP_DEVINFO_DATA Device{};
    bool bFound;
};

/// A text, or several, of the device's entry in the registry. Anybody can have stored something else there.
bool g_ReadProperty(CListed& rListed, DWORD dwProperty, CTextBuffer& rBuffer, std::wstring_view& rsStored) {
    DWORD dwType = 0, dwSize = 0;
    if (!rListed.bFound || !rBuffer ||
        !SetupDiGetDeviceRegistryPropertyW(rListed.hList, &rListed.Device, dwProperty, &dwType, rBuffer.Bytes(),
                                           CTextBuffer::kBytes, &dwSize))
        return false;
    if (dwType != REG_SZ && dwType != REG_EXPAND_SZ && dwType != REG_MULTI_SZ) return g_FailWith(ERROR_INVALID_DATA);
    rsStored = rBuffer.Stored(dwSize);
    return !g_FirstText(rsStored).empty() || g_FailWith(ERROR_INVALID_DATA);
}

/// By the property that the system has kept for it since Windows Vista.
bool g_ReadParentProperty(CListed& rListed, CTextBuffer& rBuffer, std::wstring& rsParentId) {
    const FARPROC pFound = GetProcAddress(GetModuleHandleW(L"setupapi.dll"), "SetupDiGetDevicePropertyW");
    const auto pGetProperty = reinterpret_cast<decltype(&SetupDiGetDevicePropertyW)>(reinterpret_cast<void*>(pFound));
    DEVPROPTYPE Type = DEVPROP_TYPE_EMPTY;
    DWORD dwSize = 0;
    if (!pGetProperty || !pGetProperty(rListed.hList, &rListed.Device, &kParent, &Type, rBuffer.Bytes(),
                                       CTextBuffer::kBytes, &dwSize, 0))
        return false;
    if (Type != DEVPROP_TYPE_STRING) return g_FailWith(ERROR_INVALID_DATA);
    return g_CopyText(rBuffer.Stored(dwSize), rsParentId);
}

}  // namespace

void CloseDeviceList(uintptr_t uHandle) { SetupDiDestroyDeviceInfoList(g_ToHandle(uHandle)); }

CDeviceList OpenDeviceList(ESetupClass eClass) {
    const DWORD dwAll = eClass == ESetupClass::kAnyDevice ? DIGCF_ALLCLASSES : 0;
    return CDeviceList(g_FromHandle(SetupDiGetClassDevsW(dwAll ? nullptr : &kClasses[static_cast<uint8_t>(eClass)],
                                                         nullptr, nullptr, DIGCF_PRESENT | dwAll)));
}

bool GetDeviceId(const CDeviceList& rList, uint32_t uIndex, std::wstring& rsId) {
    CListed Listed(rList, uIndex);
    CTextBuffer Buffer;
    return Listed.bFound && Buffer &&
           SetupDiGetDeviceInstanceIdW(Listed.hList, &Listed.Device, Buffer.Text(), CTextBuffer::kCharacters,
                                       nullptr) &&
           g_CopyText(Buffer.Stored(CTextBuffer::kBytes), rsId);
}

bool GetDeviceText(const CDeviceList& rList, uint32_t uIndex, EDeviceText eText, std::wstring& rsText) {
    constexpr DWORD kProperties[] = {SPDRP_DEVICEDESC, SPDRP_FRIENDLYNAME, SPDRP_MFG,
                                     SPDRP_CLASS};  // in the order of EDeviceText
    CListed Listed(rList, uIndex);
    CTextBuffer Buffer;
    std::wstring_view sStored;
    return g_ReadProperty(Listed, kProperties[static_cast<uint8_t>(eText)], Buffer, sStored) &&
           g_CopyText(sStored, rsText);
}

bool GetDeviceIds(const CDeviceList& rList, uint32_t uIndex, EDeviceIds eIds, std::vector<std::wstring>& rIds) {
    CListed Listed(rList, uIndex);
    CTextBuffer Buffer;
    std::wstring_view sStored;
    const DWORD dwProperty = eIds == EDeviceIds::kHardware ? SPDRP_HARDWAREID : SPDRP_COMPATIBLEIDS;
    if (!g_ReadProperty(Listed, dwProperty, Buffer, sStored)) return false;
    return g_Fill([&] {
        std::vector<std::wstring> Ids;
        for (auto sId = g_FirstText(sStored); !sId.empty(); sId = g_FirstText(sStored)) {  // an empty one is the end
            Ids.emplace_back(sId);
            sStored.remove_prefix(std::min(sId.size() + 1, sStored.size()));
        }
        rIds = std::move(Ids);
    });
}

bool GetDeviceParent(const CDeviceList& rList, uint32_t uIndex, std::wstring& rsParentId) {
    CListed Listed(rList, uIndex);
    CTextBuffer Buffer;
    if (!Listed.bFound || !Buffer) return false;
    DEVINST Parent = 0;
    if (CM_Get_Parent(&Parent, Listed.Device.DevInst, 0) == CR_SUCCESS &&
        CM_Get_Device_IDW(Parent, Buffer.Text(), CTextBuffer::kCharacters, 0) == CR_SUCCESS)
        return g_CopyText(Buffer.Stored(CTextBuffer::kBytes), rsParentId);
    return g_ReadParentProperty(Listed, Buffer, rsParentId);
}

bool ReadDeviceValue(const CDeviceList& rList, uint32_t uIndex, const wchar_t* pszValue, std::span<std::byte> Data,
                     uint32_t& ruSize) {
    CListed Listed(rList, uIndex);
    if (!Listed.bFound) return false;
    const HKEY hKey =
        SetupDiOpenDevRegKey(Listed.hList, &Listed.Device, DICS_FLAG_GLOBAL, 0, DIREG_DEV, KEY_QUERY_VALUE);
    if (hKey == INVALID_HANDLE_VALUE) return false;
    // A value that is too long leaves the buffer undefined, so it never is the caller's.
    const std::unique_ptr<BYTE[]> pValue(new (std::nothrow) BYTE[Data.size()]);
    auto dwSize = static_cast<DWORD>(Data.size());
    const LSTATUS lStatus = pValue ? RegQueryValueExW(hKey, pszValue, nullptr, nullptr, pValue.get(), &dwSize)
                                   : LSTATUS{ERROR_NOT_ENOUGH_MEMORY};
    RegCloseKey(hKey);
    if (lStatus != ERROR_SUCCESS) return g_FailWith(static_cast<DWORD>(lStatus));
    ruSize = std::min(dwSize, static_cast<DWORD>(Data.size()));
    std::copy_n(pValue.get(), ruSize, reinterpret_cast<BYTE*>(Data.data()));
    return true;
}

}  // namespace vxt::platform
