#include "platform/registry.h"

#include <algorithm>
#include <vector>

#include "platform/windows/windows_api.h"

namespace vxt::platform {

void CloseRegistryKey(uintptr_t uHandle) { RegCloseKey(g_ToHandle<HKEY>(uHandle)); }

CRegistryKey OpenUserKey(const wchar_t* pszPath) {
    HKEY hKey = nullptr;
    if (RegOpenKeyExW(HKEY_CURRENT_USER, pszPath, 0, KEY_QUERY_VALUE, &hKey) != ERROR_SUCCESS) return {};
    return CRegistryKey(reinterpret_cast<uintptr_t>(hKey));
}

bool QueryRegistryValue(const CRegistryKey& rKey, const wchar_t* pszValue, std::span<std::byte> Data) {
    // A value that is too long leaves the buffer undefined, so it never is the caller's.
    std::vector<BYTE> Value(Data.size());
    DWORD dwSize = static_cast<DWORD>(Value.size());
    if (RegQueryValueExW(g_ToHandle<HKEY>(rKey.Get()), pszValue, nullptr, nullptr, Value.data(), &dwSize) !=
        ERROR_SUCCESS)
        return false;
    std::copy_n(reinterpret_cast<const std::byte*>(Value.data()), std::min<size_t>(dwSize, Data.size()), Data.data());
    return true;
}

}  // namespace vxt::platform
