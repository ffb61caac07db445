// The device tree, drives and displays as the system tells them, over what Windows here has of its own and over a device
// that the test puts into the registry.
#include "platform/device_tree.h"
#include "platform/display.h"
#include "platform/drive.h"
#include "platform/error_code.h"
#include "platform/windows/windows_api.h"

// Behind windows_api.h: it brings <windows.h>, whose macros would rename the seam's functions.
#include <gtest/gtest.h>

#include <array>
#include <string_view>

using namespace vxt::platform;
using namespace std::string_view_literals;

namespace {

/// A monitor in the registry, gone with this.
class CPlantedMonitor {
public:
    static constexpr const wchar_t *kId = LR"(VXT_TEST\MONITOR\1)", *kEnumerator = L"VXT_TEST";

    CPlantedMonitor() : m_hKey(_Create(kEnumRoot + std::wstring(kId))) {
        Put(L"ClassGUID", REG_SZ, L"{4d36e96e-e325-11ce-bfc1-08002be10318}\0"sv);
    }
    ~CPlantedMonitor() {
        RegCloseKey(m_hKey);
        RegDeleteTreeW(HKEY_LOCAL_MACHINE, (kEnumRoot + std::wstring(kEnumerator)).c_str());
    }
    /// `uLess` bytes of it are not stored.
    void Put(const wchar_t* pszValue, DWORD dwType, std::wstring_view sData, size_t uLess = 0) {
        _Put(m_hKey, pszValue, dwType, sData, uLess);
    }
    void PutBelow(const wchar_t* pszKey, const wchar_t* pszValue, DWORD dwType, std::wstring_view sData) {
        const HKEY hKey = _Create(std::wstring(kEnumRoot) + kId + L"\\" + pszKey);
        _Put(hKey, pszValue, dwType, sData, 0);
        RegCloseKey(hKey);
    }

private:
    static constexpr const wchar_t* kEnumRoot = LR"(System\CurrentControlSet\Enum\)";
    static HKEY _Create(const std::wstring& rsPath) {
        HKEY hKey = nullptr;
        RegCreateKeyExW(HKEY_LOCAL_MACHINE, rsPath.c_str(), 0, nullptr, REG_OPTION_VOLATILE, KEY_ALL_ACCESS, nullptr,
                        &hKey, nullptr);
        return hKey;
    }
    static void _Put(HKEY hKey, const wchar_t* pszValue, DWORD dwType, std::wstring_view sData, size_t uLess) {
        const auto* const pData = reinterpret_cast<const BYTE*>(sData.data());
        RegSetValueExW(hKey, pszValue, 0, dwType, pData, static_cast<DWORD>(sData.size() * sizeof(wchar_t) - uLess));
    }

    HKEY m_hKey;
};

/// Its place in the list; the list's end where it is not there.
uint32_t g_Find(const CDeviceList& rList, std::wstring_view sWanted) {
    uint32_t uIndex = 0;
    for (std::wstring sId; GetDeviceId(rList, uIndex, sId) && sId != sWanted;) ++uIndex;
    return uIndex;
}

TEST(CDeviceTree, TextsAreReadHoweverTheRegistryHoldsThem) {
    constexpr struct {
        const char* pszCase;
        DWORD dwType;
        std::wstring_view sStored;
        size_t uLess;
        std::wstring_view sText;  ///< "failed": none
        size_t uIds;
    } kCases[] = {
        {"a text", REG_SZ, L"PNP0A08\0"sv, 0, L"PNP0A08", 1},
        {"without its zero", REG_SZ, L"PNP0A08"sv, 0, L"PNP0A08", 1},
        {"half a character at the end", REG_SZ, L"PNP0A08"sv, 1, L"PNP0A0", 1},
        {"several", REG_MULTI_SZ, L"A\0BC\0\0"sv, 0, L"A", 2},
        {"several, the last without its zero", REG_MULTI_SZ, L"A\0BC"sv, 0, L"A", 2},
        {"something behind the end", REG_MULTI_SZ, L"A\0\0BC\0"sv, 0, L"A", 1},
        {"no character", REG_MULTI_SZ, L"\0"sv, 0, L"failed", 0},
        {"no byte", REG_SZ, L""sv, 0, L"failed", 0},
        {"a number", REG_DWORD, L"AB"sv, 0, L"failed", 0},
    };
    CPlantedMonitor Monitor;
    for (const auto& [pszCase, dwType, sStored, uLess, sText, uIds] : kCases) {
        for (const wchar_t* const pszValue : {L"DeviceDesc", L"HardwareID"})
            Monitor.Put(pszValue, dwType, sStored, uLess);
        const CDeviceList List = OpenDeviceList(ESetupClass::kMonitor);
        const uint32_t uIndex = g_Find(List, CPlantedMonitor::kId);
        std::wstring sFound = L"untouched";
        std::vector<std::wstring> Ids{L"untouched"};
        const bool bText = GetDeviceText(List, uIndex, EDeviceText::kDescription, sFound);
        const bool bIds = GetDeviceIds(List, uIndex, EDeviceIds::kHardware, Ids);
        EXPECT_EQ(sFound, bText ? sText : L"untouched") << pszCase;
        EXPECT_EQ(bText && bIds, sText != L"failed") << pszCase;
        EXPECT_EQ(Ids.size(), bIds ? uIds : 1) << pszCase;
        EXPECT_EQ(Ids[0], bIds ? sText : L"untouched") << pszCase;
    }
}

TEST(CDeviceTree, TheLongestTextIsReadAndALongerOneIsNot) {
    CPlantedMonitor Monitor;
    const std::wstring sLong(32766, L'x'), sTooLong(40'000, L'x');
    Monitor.Put(L"FriendlyName", REG_SZ, sLong);
    Monitor.Put(L"Mfg", REG_SZ, sTooLong);
    const CDeviceList List = OpenDeviceList(ESetupClass::kAnyDevice);
    const uint32_t uIndex = g_Find(List, CPlantedMonitor::kId);
    std::wstring sText;
    EXPECT_FALSE(GetDeviceText(List, uIndex, EDeviceText::kManufacturer, sText));
    EXPECT_TRUE(GetDeviceText(List, uIndex, EDeviceText::kFriendlyName, sText) && sText == sLong);
}

TEST(CDeviceTree, AValueComesWholeOrNotAtAll) {
    CPlantedMonitor Monitor;
    Monitor.PutBelow(L"Device Parameters", L"EDID", REG_BINARY, L"\xFF00\xFFFF\xFFFF\x00FF");
    const CDeviceList List = OpenDeviceList(ESetupClass::kMonitor);
    const uint32_t uIndex = g_Find(List, CPlantedMonitor::kId);
    std::array<std::byte, 10> Data{};
    uint32_t uSize = 99;
    EXPECT_FALSE(ReadDeviceValue(List, uIndex, L"EDID", std::span(Data).first(7), uSize));
    EXPECT_FALSE(ReadDeviceValue(List, uIndex, L"No such value", Data, uSize));
    EXPECT_EQ(uSize, 99u);
    EXPECT_EQ(Data[1], std::byte{}) << "written to by a failed call";
    ASSERT_TRUE(ReadDeviceValue(List, uIndex, L"EDID", Data, uSize));
    EXPECT_EQ(uSize, 8u);
    EXPECT_EQ(Data[1], std::byte{0xFF});
}

TEST(CDeviceTree, WhatIsGoneAndWhatNeverWasFails) {
    auto oMonitor = std::make_optional<CPlantedMonitor>();
    oMonitor->Put(L"DeviceDesc", REG_SZ, L"Monitor\0"sv);
    const CDeviceList List = OpenDeviceList(ESetupClass::kMonitor), None;
    const uint32_t uIndex = g_Find(List, CPlantedMonitor::kId);
    std::wstring sText;
    ASSERT_TRUE(GetDeviceText(List, uIndex, EDeviceText::kDescription, sText));
    oMonitor.reset();
    uint32_t uSize = 0;
    EXPECT_FALSE(GetDeviceText(List, uIndex, EDeviceText::kDescription, sText));
    EXPECT_FALSE(ReadDeviceValue(List, uIndex, L"EDID", {}, uSize));
    EXPECT_FALSE(GetDeviceParent(List, uIndex, sText));
    EXPECT_FALSE(GetDeviceId(List, 1000, sText));
    EXPECT_EQ(LastError(), kErrorNoMoreItems);
    EXPECT_FALSE(GetDeviceId(None, 0, sText));
    EXPECT_EQ(LastError(), kErrorInvalidHandle);
    EXPECT_EQ(sText, L"Monitor");
    // A class that nobody here has a device of is a list all the same.
    EXPECT_TRUE(OpenDeviceList(ESetupClass::kDiskController));
}

TEST(COwnDevices, TheSystemsMonitorAndDiskAreThere) {
    const CDeviceList List = OpenDeviceList(ESetupClass::kMonitor);
    std::wstring sText;
    EXPECT_TRUE(GetDeviceText(List, 0, EDeviceText::kDescription, sText));
    EXPECT_EQ(sText, L"Generic Non-PnP Monitor");

    std::array<uint8_t, kIdentifyBytes> Data{};
    uint32_t uSize = 0;
    for (const EDriveAccess eAccess : {EDriveAccess::kReadWrite, EDriveAccess::kAsk}) {
        const CDrive Drive = OpenDrive(LR"(\\.\PHYSICALDRIVE0)", eAccess);
        ASSERT_TRUE(DescribeDrive(Drive, Data, uSize));
        EXPECT_EQ(uSize, 40u);
        EXPECT_EQ(Data[4], uSize) << "its own size";
        EXPECT_FALSE(IdentifyDrive(Drive, false, Data));
        EXPECT_EQ(LastError(), eAccess == EDriveAccess::kAsk ? kErrorAccessDenied : DWORD{ERROR_NOT_SUPPORTED});
    }
    EXPECT_FALSE(OpenDrive(LR"(\\.\PHYSICALDRIVE7)", EDriveAccess::kAsk));
    EXPECT_EQ(LastError(), kErrorFileNotFound);
}

TEST(COwnDevices, ADisplayIsNamedAndAnswersNoUnknownEscape) {
    CDisplayName Name, Untouched{L"a", L"b", L"c"};
    ASSERT_TRUE(GetDisplayName(0, Name));
    EXPECT_EQ(Name.sDevice, LR"(\\.\DISPLAY1)");
    EXPECT_EQ(Name.sAdapter, L"Wine Adapter");
    EXPECT_TRUE(Name.sId.starts_with(LR"(PCI\VEN_)")) << "its PCI identity";
    EXPECT_FALSE(GetDisplayName(1000, Untouched));
    EXPECT_EQ(Untouched.sAdapter, L"b");

    const CDisplay Display = OpenDisplay(Name.sDevice.c_str());
    ASSERT_TRUE(Display);
    constexpr int32_t kUnknown = 0x5601;
    std::array<std::byte, 16> Out{};
    EXPECT_EQ(EscapeDisplay(Display, kQueryEscapeSupport, std::as_bytes(std::span(&kUnknown, 1)), {}), 0);
    EXPECT_EQ(EscapeDisplay(Display, kUnknown, Out, Out), 0);
}

}  // namespace

int main(int nArguments, char** ppszArguments) {
    testing::InitGoogleTest(&nArguments, ppszArguments);
    return RUN_ALL_TESTS();
}
