#include "platform/registry.h"

#include <algorithm>
#include <cwchar>
#include <memory>
#include <new>

#include "platform/windows/windows_api.h"

namespace vxt::platform {

void CloseRegistryKey(uintptr_t uHandle) { RegCloseKey(g_ToHandle<HKEY>(uHandle)); }

namespace {

CRegistryKey g_Own(HKEY hKey) { return CRegistryKey(reinterpret_cast<uintptr_t>(hKey)); }

CRegistryKey g_Open(HKEY hHive, const wchar_t* pszPath, REGSAM uAccess = KEY_QUERY_VALUE) {
    HKEY hKey = nullptr;
    return RegOpenKeyExW(hHive, pszPath, 0, uAccess, &hKey) == ERROR_SUCCESS ? g_Own(hKey) : CRegistryKey();
}

}  // namespace

CRegistryKey OpenUserKey(const wchar_t* pszPath) { return g_Open(HKEY_CURRENT_USER, pszPath); }

CRegistryKey OpenMachineKey(const wchar_t* pszPath) { return g_Open(HKEY_LOCAL_MACHINE, pszPath); }

CRegistryKey OpenUserKeyToWrite(const wchar_t* pszPath) { return g_Open(HKEY_CURRENT_USER, pszPath, KEY_SET_VALUE); }

CRegistryKey CreateUserKey(const wchar_t* pszPath) {
    HKEY hKey = nullptr;
    const LSTATUS lStatus = RegCreateKeyExW(HKEY_CURRENT_USER, pszPath, 0, nullptr, REG_OPTION_NON_VOLATILE,
                                            KEY_SET_VALUE, nullptr, &hKey, nullptr);
    return lStatus == ERROR_SUCCESS ? g_Own(hKey) : CRegistryKey();
}

bool QueryRegistryValue(const CRegistryKey& rKey, const wchar_t* pszValue, std::span<std::byte> Data) {
    // A value that is too long leaves the buffer undefined, so it never is the caller's.
    const std::unique_ptr<std::byte[]> pValue(new (std::nothrow) std::byte[Data.size()]);
    DWORD dwSize = static_cast<DWORD>(Data.size());
    if (!pValue || RegQueryValueExW(g_ToHandle<HKEY>(rKey.Get()), pszValue, nullptr, nullptr,
                                    reinterpret_cast<BYTE*>(pValue.get()), &dwSize) != ERROR_SUCCESS)
        return false;
    std::copy_n(pValue.get(), std::min<size_t>(dwSize, Data.size()), Data.data());
    return true;
}

bool SetRegistryText(const CRegistryKey& rKey, const wchar_t* pszValue, const wchar_t* pszText) {
    const auto dwSize = static_cast<DWORD>((std::wcslen(pszText) + 1) * sizeof(wchar_t));
    return RegSetValueExW(g_ToHandle<HKEY>(rKey.Get()), pszValue, 0, REG_SZ, reinterpret_cast<const BYTE*>(pszText),
                          dwSize) == ERROR_SUCCESS;
}

bool DeleteRegistryValue(const CRegistryKey& rKey, const wchar_t* pszValue) {
    return RegDeleteValueW(g_ToHandle<HKEY>(rKey.Get()), pszValue) == ERROR_SUCCESS;
}

}  // namespace vxt::platform
