#include "platform/registry.h"

#include <algorithm>
#include <memory>
#include <new>

#include "platform/windows/windows_api.h"

namespace vxt::platform {

void CloseRegistryKey(uintptr_t uHandle) { RegCloseKey(g_ToHandle<HKEY>(uHandle)); }

namespace {

CRegistryKey g_Open(HKEY hHive, const wchar_t* pszPath) {
    HKEY hKey = nullptr;
    if (RegOpenKeyExW(hHive, pszPath, 0, KEY_QUERY_VALUE, &hKey) != ERROR_SUCCESS) return {};
    return CRegistryKey(reinterpret_cast<uintptr_t>(hKey));
}

}  // namespace

CRegistryKey OpenUserKey(const wchar_t* pszPath) { return g_Open(HKEY_CURRENT_USER, pszPath); }

CRegistryKey OpenMachineKey(const wchar_t* pszPath) { return g_Open(HKEY_LOCAL_MACHINE, pszPath); }

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

}  // namespace vxt::platform
