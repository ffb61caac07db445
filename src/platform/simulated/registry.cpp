#include "platform/registry.h"

#include <algorithm>
#include <charconv>
#include <cstring>

#include "platform/simulated/simulated_system.h"
#include "platform/text.h"

namespace vxt::platform {

using simulated::CSimulatedSystem;
using simulated::CSystemSide;
using simulated::g_GetSystem;
using EHandle = CSimulatedSystem::EHandle;

namespace {

constexpr const char* kUserHive = "HKCU\\";
constexpr const char* kMachineHive = "HKLM\\";

/// The bytes of a value as the machine file spells it: "dword:HEX" or "sz:TEXT" (kept as UTF-16 with its terminator).
std::vector<uint8_t> g_ValueBytes(std::string_view sText) {
    std::vector<uint8_t> Bytes;
    if (sText.starts_with("dword:")) {
        uint32_t uValue = 0;
        std::from_chars(sText.data() + 6, sText.data() + sText.size(), uValue, 16);
        for (int i = 0; i < 4; ++i) Bytes.push_back(static_cast<uint8_t>(uValue >> 8 * i));
    } else if (sText.starts_with("sz:")) {
        for (const char c : std::string(sText.substr(3)) + '\0')
            Bytes.insert(Bytes.end(), {static_cast<uint8_t>(c), 0});
    }
    return Bytes;
}

/// The handle's name is the key's with its hive and the mark that stands before a value's name.
CRegistryKey g_Open(const char* pszCall, const char* pszHive, const wchar_t* pszPath) {
    const CSystemSide SystemSide;
    CSimulatedSystem& rSystem = g_GetSystem();
    if (rSystem.Refuses(pszCall, kErrorFileNotFound)) return {};
    const std::string sKey = pszHive + NarrowText(pszPath) + '!';
    const auto& rValues = simulated::g_GetMachine().Description().Registry;
    const auto it = rValues.lower_bound(sKey);
    const bool bExists = it != rValues.end() && it->first.starts_with(sKey);
    return CRegistryKey(bExists ? rSystem.Open(EHandle::kRegistryKey, std::wstring(sKey.begin(), sKey.end()))
                                : rSystem.Fail(kErrorFileNotFound));
}

}  // namespace

void CloseRegistryKey(uintptr_t uHandle) { g_GetSystem().Close(uHandle); }

CRegistryKey OpenUserKey(const wchar_t* pszPath) { return g_Open("OpenUserKey", kUserHive, pszPath); }

CRegistryKey OpenMachineKey(const wchar_t* pszPath) { return g_Open("OpenMachineKey", kMachineHive, pszPath); }

bool QueryRegistryValue(const CRegistryKey& rKey, const wchar_t* pszValue, std::span<std::byte> Data) {
    const CSystemSide SystemSide;
    CSimulatedSystem& rSystem = g_GetSystem();
    const std::wstring* const pKey = rSystem.Find(rKey.Get(), EHandle::kRegistryKey);
    if (rSystem.Refuses("QueryRegistryValue", kErrorFileNotFound) || !pKey) return false;
    const auto& rValues = simulated::g_GetMachine().Description().Registry;
    const auto it = rValues.find(NarrowText(*pKey) + NarrowText(pszValue));
    if (it == rValues.end()) return false;
    const std::vector<uint8_t> Bytes = g_ValueBytes(it->second);
    if (Bytes.size() > Data.size()) return false;
    std::memcpy(Data.data(), Bytes.data(), Bytes.size());
    return true;
}

}  // namespace vxt::platform
