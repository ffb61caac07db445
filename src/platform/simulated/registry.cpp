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

constexpr std::string_view kUserHive = "HKCU\\";

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

}  // namespace

void CloseRegistryKey(uintptr_t uHandle) { g_GetSystem().Close(uHandle); }

CRegistryKey OpenUserKey(const wchar_t* pszPath) {
    const CSystemSide SystemSide;
    CSimulatedSystem& rSystem = g_GetSystem();
    if (rSystem.Refuses("OpenUserKey", kErrorFileNotFound)) return {};
    const std::string sPrefix = std::string(kUserHive) + NarrowText(pszPath) + '!';
    const auto& rValues = simulated::g_GetMachine().Description().Registry;
    const auto it = rValues.lower_bound(sPrefix);
    const bool bExists = it != rValues.end() && it->first.starts_with(sPrefix);
    return CRegistryKey(bExists ? rSystem.Open(EHandle::kRegistryKey, pszPath) : rSystem.Fail(kErrorFileNotFound));
}

bool QueryRegistryValue(const CRegistryKey& rKey, const wchar_t* pszValue, std::span<std::byte> Data) {
    const CSystemSide SystemSide;
    CSimulatedSystem& rSystem = g_GetSystem();
    const std::wstring* const pPath = rSystem.Find(rKey.Get(), EHandle::kRegistryKey);
    if (rSystem.Refuses("QueryRegistryValue", kErrorFileNotFound) || !pPath) return false;
    const auto& rValues = simulated::g_GetMachine().Description().Registry;
    const auto it = rValues.find(std::string(kUserHive) + NarrowText(*pPath) + '!' + NarrowText(pszValue));
    if (it == rValues.end()) return false;
    const std::vector<uint8_t> Bytes = g_ValueBytes(it->second);
    if (Bytes.size() > Data.size()) return false;
    std::memcpy(Data.data(), Bytes.data(), Bytes.size());
    return true;
}

}  // namespace vxt::platform
