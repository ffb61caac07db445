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
/// A key without values does not exist here; one that is to be made does from its first value on.
CRegistryKey g_Open(const char* pszCall, const char* pszHive, const wchar_t* pszPath, bool bMake = false) {
    const CSystemSide SystemSide;
    CSimulatedSystem& rSystem = g_GetSystem();
    if (rSystem.Refuses(pszCall, kErrorFileNotFound)) return {};
    const std::string sKey = pszHive + NarrowText(pszPath) + '!';
    const bool bExists = bMake || simulated::g_GetMachine().HasRegistryKey(sKey);
    return CRegistryKey(bExists ? rSystem.Open(EHandle::kRegistryKey, std::wstring(sKey.begin(), sKey.end()))
                                : rSystem.Fail(kErrorFileNotFound));
}

}  // namespace

void CloseRegistryKey(uintptr_t uHandle) { g_GetSystem().Close(uHandle); }

CRegistryKey OpenUserKey(const wchar_t* pszPath) { return g_Open("OpenUserKey", kUserHive, pszPath); }

CRegistryKey OpenMachineKey(const wchar_t* pszPath) { return g_Open("OpenMachineKey", kMachineHive, pszPath); }

CRegistryKey OpenUserKeyToWrite(const wchar_t* pszPath) { return g_Open("OpenUserKeyToWrite", kUserHive, pszPath); }

CRegistryKey CreateUserKey(const wchar_t* pszPath) { return g_Open("CreateUserKey", kUserHive, pszPath, true); }

bool QueryRegistryValue(const CRegistryKey& rKey, const wchar_t* pszValue, std::span<std::byte> Data) {
    const CSystemSide SystemSide;
    CSimulatedSystem& rSystem = g_GetSystem();
    const std::wstring* const pKey = rSystem.Find(rKey.Get(), EHandle::kRegistryKey);
    if (rSystem.Refuses("QueryRegistryValue", kErrorFileNotFound) || !pKey) return false;
    const std::optional<std::string> oText =
        simulated::g_GetMachine().RegistryValue(NarrowText(*pKey) + NarrowText(pszValue));
    if (!oText) return false;
    const std::vector<uint8_t> Bytes = g_ValueBytes(*oText);
    if (Bytes.size() > Data.size()) return false;
    std::memcpy(Data.data(), Bytes.data(), Bytes.size());
    return true;
}

namespace {

/// Nothing takes the value away.
bool g_Change(const char* pszCall, const CRegistryKey& rKey, const wchar_t* pszValue,
              std::optional<std::string> oText) {
    const CSystemSide SystemSide;
    CSimulatedSystem& rSystem = g_GetSystem();
    const std::wstring* const pKey = rSystem.Find(rKey.Get(), EHandle::kRegistryKey);
    if (rSystem.Refuses(pszCall, kErrorFileNotFound) || !pKey) return false;
    const std::string sName = NarrowText(*pKey) + NarrowText(pszValue);
    vxtsim::CSimMachine& rMachine = simulated::g_GetMachine();
    if (!oText && !rMachine.RegistryValue(sName)) return rSystem.Fail(kErrorFileNotFound) != 0;
    rMachine.SetRegistryValue(sName, std::move(oText));
    return simulated::g_KeepState();
}

}  // namespace

bool SetRegistryText(const CRegistryKey& rKey, const wchar_t* pszValue, const wchar_t* pszText) {
    return g_Change("SetRegistryText", rKey, pszValue, "sz:" + NarrowText(pszText));
}

bool DeleteRegistryValue(const CRegistryKey& rKey, const wchar_t* pszValue) {
    return g_Change("DeleteRegistryValue", rKey, pszValue, std::nullopt);
}

}  // namespace vxt::platform
