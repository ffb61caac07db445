// The devices of the PC in the simulated driver as the system tells of them: there as long as the driver runs, and for the
// time that the machine file says.
#include "platform/device_tree.h"
#include "platform/display.h"
#include "platform/drive.h"
#include "platform/error_code.h"
#include "platform/windows/windows_api.h"
#include "platform/wmi.h"

// Behind windows_api.h: it brings <windows.h>, whose macros would rename the seam's functions.
#include <gtest/gtest.h>
#include <ntddscsi.h>
#include <winioctl.h>

#include <algorithm>
#include <array>
#include <fstream>

#include "installation.h"
#include "simulated/silicon_call.h"

using namespace vxt::platform;

namespace {

constexpr const char* kMachine = R"([machine]
based_on = family10h-ddr3
without = device
[wmi root\cimv2 Win32_BaseBoard]
Manufacturer = text:Public
[device PCI\VEN_1002&DEV_4391\3&267A616A&0&88]
class = hdc
description = AHCI controller
hardware_ids = PCI\VEN_1002&DEV_4391&SUBSYS_1234|PCI\VEN_1002&DEV_4391
compatible_ids = PCI\CC_010601
manufacturer = Public
[device IDE\DISKPUBLIC_IMAGE\5&2A1&0&0.0.0]
class = diskdrive
friendly_name = Public image ATA Device
parent = PCI\VEN_1002&DEV_4391\3&267A616A&0&88
drive = PHYSICALDRIVE0
serial = 123
bus = 11
00: 40 00 ff 3f
1fc: 11 22 a5 5a
[device IDE\CDROM\1]
class = cdrom
friendly_name = Burner
drive = X:
bus = 2
00: c0 85
1fc: 00 00 a5 5a
[device USBSTOR\DISK\1]
class = diskdrive
friendly_name = Stick
drive = PHYSICALDRIVE5
from = 1000
until = 2000
[device DISPLAY\ABC1234\4&1]
class = monitor
description = Plug and Play monitor
parent = PCI\VEN_1002&DEV_4391\3&267A616A&0&88
00: 00 ff ff ff ff ff ff 00
)";

std::vector<std::wstring> g_Ids(ESetupClass eClass) {
    const CDeviceList List = OpenDeviceList(eClass);
    std::vector<std::wstring> Ids;
    for (std::wstring sId; GetDeviceId(List, static_cast<uint32_t>(Ids.size()), sId);) Ids.push_back(sId);
    return Ids;
}

bool g_IsThere(const wchar_t* pszId) { return std::ranges::count(g_Ids(ESetupClass::kAnyDevice), pszId) == 1; }

/// A property of all instances in the system's inventory.
std::vector<std::wstring> g_Inventory(const wchar_t* pszClass, const wchar_t* pszProperty) {
    CWmiLocator Locator;
    CWmiServices Services;
    CWmiEnumerator Enumerator;
    std::vector<std::wstring> Found;
    EXPECT_GE(CreateWmiLocator(Locator), 0);
    EXPECT_GE(ConnectWmiServer(Locator, LR"(root\cimv2)", Services), 0);
    EXPECT_GE(CreateWmiInstanceEnum(Services, pszClass, 0x221, Enumerator), 0);  // shallow, forward only, direct read
    while (const CWmiObject Instance = NextWmiInstance(Enumerator, 5000)) {
        WmiValue Value;
        EXPECT_GE(GetWmiProperty(Instance, pszProperty, Value), 0);
        Found.push_back(std::get<std::wstring>(Value));
    }
    return Found;
}

class CPlugged : public testing::Test {
protected:
    void SetUp() override {
        std::ofstream(MachineFile(), std::ios::binary) << kMachine;
        g_InstallDriverService(g_DriverFile());
        const SC_HANDLE hManager = OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT);
        const SC_HANDLE hService = OpenServiceW(hManager, L"VXTDriver", SERVICE_START);
        EXPECT_TRUE(StartServiceW(hService, 0, nullptr)) << GetLastError();
        CloseServiceHandle(hService);
        CloseServiceHandle(hManager);
    }
    void TearDown() override {
        g_RemoveDriverService();
        std::filesystem::remove(MachineFile());
    }
    static std::filesystem::path MachineFile() { return g_DriverFile().replace_extension(L".machine"); }

    static void LetTimePass(uint32_t uSeconds) {
        const HANDLE hDriver =
            CreateFileW(LR"(\\.\VXTDriver)", GENERIC_READ | GENERIC_WRITE, 3, nullptr, OPEN_EXISTING, 0, nullptr);
        uint32_t uMilliseconds = uSeconds * 1000;
        vxtdriver::CSiliconAnswer Answer;
        DWORD dwReturned = 0;
        EXPECT_TRUE(DeviceIoControl(hDriver, vxtdriver::kLetTimePass, &uMilliseconds, sizeof(uMilliseconds), &Answer,
                                    sizeof(Answer), &dwReturned, nullptr));
        CloseHandle(hDriver);
    }
};

TEST_F(CPlugged, DevicesAreInTheTreeAsTheMachineFileSays) {
    constexpr const wchar_t* kOwn = LR"(DISPLAY\DEFAULT_MONITOR\0000&0000)";
    EXPECT_EQ(g_Ids(ESetupClass::kAnyDevice).size(), 4u) << "no others, Windows' own are hidden";
    EXPECT_EQ(g_Ids(ESetupClass::kMonitor), std::vector<std::wstring>{LR"(DISPLAY\ABC1234\4&1)"});
    CDisplayName Display;
    EXPECT_TRUE(GetDisplayName(0, Display)) << "the hidden adapter works";
    // A desktop that begins writes them anew.
    const std::wstring sKey = LR"(System\CurrentControlSet\Enum\)" + std::wstring(kOwn);
    constexpr wchar_t kMonitors[] = L"{4d36e96e-e325-11ce-bfc1-08002be10318}";
    RegSetKeyValueW(HKEY_LOCAL_MACHINE, sKey.c_str(), L"ClassGUID", REG_SZ, kMonitors, sizeof(kMonitors));
    for (int i = 0; i < 200 && g_Ids(ESetupClass::kMonitor).size() != 1; ++i) Sleep(10);
    EXPECT_EQ(g_Ids(ESetupClass::kMonitor), std::vector<std::wstring>{LR"(DISPLAY\ABC1234\4&1)"});
    g_RemoveDriverService();
    EXPECT_EQ(g_Ids(ESetupClass::kMonitor), std::vector<std::wstring>{kOwn});
    SetUp();
    const CDeviceList Controllers = OpenDeviceList(ESetupClass::kDiskController);
    std::wstring sText;
    ASSERT_TRUE(GetDeviceId(Controllers, 0, sText));
    EXPECT_EQ(sText, LR"(PCI\VEN_1002&DEV_4391\3&267A616A&0&88)");
    EXPECT_FALSE(GetDeviceParent(Controllers, 0, sText)) << "it hangs on nothing";
    EXPECT_TRUE(GetDeviceText(Controllers, 0, EDeviceText::kDescription, sText));
    EXPECT_EQ(sText, L"AHCI controller");
    EXPECT_TRUE(GetDeviceText(Controllers, 0, EDeviceText::kManufacturer, sText));
    EXPECT_EQ(sText, L"Public");
    EXPECT_FALSE(GetDeviceText(Controllers, 0, EDeviceText::kFriendlyName, sText));
    std::vector<std::wstring> Ids;
    EXPECT_TRUE(GetDeviceIds(Controllers, 0, EDeviceIds::kHardware, Ids));
    EXPECT_EQ(Ids, (std::vector<std::wstring>{LR"(PCI\VEN_1002&DEV_4391&SUBSYS_1234)", LR"(PCI\VEN_1002&DEV_4391)"}));
    EXPECT_TRUE(GetDeviceIds(Controllers, 0, EDeviceIds::kCompatible, Ids));
    EXPECT_EQ(Ids, std::vector<std::wstring>{LR"(PCI\CC_010601)"});

    const CDeviceList Monitors = OpenDeviceList(ESetupClass::kMonitor);
    std::array<std::byte, 256> Data{};
    uint32_t uSize = 0;
    EXPECT_TRUE(ReadDeviceValue(Monitors, 0, L"EDID", Data, uSize));
    EXPECT_EQ(uSize, 8u);
    EXPECT_EQ(Data[1], std::byte{0xFF});
    EXPECT_TRUE(GetDeviceParent(Monitors, 0, sText));
    EXPECT_EQ(sText, LR"(PCI\VEN_1002&DEV_4391\3&267A616A&0&88)");
}

TEST_F(CPlugged, DrivesAnswerAsTheDriversOfWindowsDo) {
    std::array<uint8_t, kIdentifyBytes> Data{};
    const CDrive Disk = OpenDrive(LR"(\\.\PhysicalDrive0)", EDriveAccess::kReadWrite);
    ASSERT_TRUE(IdentifyDrive(Disk, false, Data)) << LastError();
    EXPECT_EQ(Data[0], 0x40);
    EXPECT_EQ(Data[511], 0x5A);
    EXPECT_FALSE(IdentifyDrive(Disk, true, Data)) << "a disk is no packet device";
    const CDrive Optical = OpenDrive(LR"(\\.\X:)", EDriveAccess::kReadWrite);
    ASSERT_TRUE(IdentifyDrive(Optical, true, Data)) << LastError();
    EXPECT_EQ(Data[1], 0x85);
    EXPECT_FALSE(IdentifyDrive(Optical, false, Data));

    std::array<uint8_t, 512> Descriptor{};
    uint32_t uSize = 0;
    const CDrive Asked = OpenDrive(LR"(\\.\PHYSICALDRIVE0)", EDriveAccess::kAsk);
    EXPECT_FALSE(IdentifyDrive(Asked, false, Data));
    EXPECT_EQ(LastError(), kErrorAccessDenied);
    ASSERT_TRUE(DescribeDrive(Asked, Descriptor, uSize));
    const auto* const pDescriptor = reinterpret_cast<const char*>(Descriptor.data());
    EXPECT_STREQ(pDescriptor + Descriptor[16], "Public image");
    EXPECT_STREQ(pDescriptor + Descriptor[24], "123");
    EXPECT_EQ(Descriptor[28], 11) << "bus";
    EXPECT_EQ(Descriptor[12], 0) << "no vendor";
    EXPECT_EQ(uSize, Descriptor[4]);
    EXPECT_TRUE(DescribeDrive(Asked, std::span(Descriptor).first(8), uSize));
    EXPECT_EQ(uSize, 8u);
    EXPECT_FALSE(DescribeDrive(Asked, std::span(Descriptor).first(7), uSize));
}

// The same request as the library's, which has to be right to the byte.
TEST_F(CPlugged, AWrongPassThroughIsRefused) {
    struct CRequest {
        ATA_PASS_THROUGH_EX Header{};
        UCHAR aucData[kIdentifyBytes]{};
    };
    constexpr USHORT kHeader = sizeof(ATA_PASS_THROUGH_EX);
    constexpr ULONG kData = offsetof(CRequest, aucData);
    constexpr struct {
        const char* pszCase;
        USHORT usLength, usFlags;
        ULONG ulOffset, ulSeconds;
        DWORD dwSize, dwError;
    } kCases[] = {
        {"right", kHeader, ATA_FLAGS_DATA_IN, kData, 3, sizeof(CRequest), ERROR_SUCCESS},
        {"length", kHeader - 1, ATA_FLAGS_DATA_IN, kData, 3, sizeof(CRequest), ERROR_INVALID_PARAMETER},
        {"no time", kHeader, ATA_FLAGS_DATA_IN, kData, 0, sizeof(CRequest), ERROR_INVALID_PARAMETER},
        {"to the drive", kHeader, ATA_FLAGS_DATA_OUT, kData, 3, sizeof(CRequest), ERROR_INVALID_PARAMETER},
        {"into the header", kHeader, ATA_FLAGS_DATA_IN, 8, 3, sizeof(CRequest), ERROR_INVALID_PARAMETER},
        {"beyond the end", kHeader, ATA_FLAGS_DATA_IN, kData + 1, 3, sizeof(CRequest), ERROR_INVALID_PARAMETER},
        {"short", kHeader, ATA_FLAGS_DATA_IN, kData, 3, kHeader - 1, ERROR_INSUFFICIENT_BUFFER},
    };
    const CDrive Disk = OpenDrive(LR"(\\.\PHYSICALDRIVE0)", EDriveAccess::kReadWrite);
    for (const auto& [pszCase, usLength, usFlags, ulOffset, ulSeconds, dwSize, dwError] : kCases) {
        CRequest Request;
        Request.Header.Length = usLength, Request.Header.AtaFlags = usFlags;
        Request.Header.DataTransferLength = kIdentifyBytes, Request.Header.DataBufferOffset = ulOffset;
        Request.Header.TimeOutValue = ulSeconds;
        Request.Header.CurrentTaskFile[6] = 0xEC;
        DWORD dwReturned = 0;
        SetLastError(ERROR_SUCCESS);
        DeviceIoControl(g_ToHandle(Disk.Get()), IOCTL_ATA_PASS_THROUGH, &Request, dwSize, &Request, dwSize, &dwReturned,
                        nullptr);
        EXPECT_EQ(GetLastError(), dwError) << pszCase;
    }
}

TEST_F(CPlugged, DevicesComeAndGoWithTimeAndWithTheDriver) {
    constexpr const wchar_t *kStick = LR"(\\.\PHYSICALDRIVE5)", *kStickId = LR"(USBSTOR\DISK\1)",
                            *kDiskId = LR"(IDE\DISKPUBLIC_IMAGE\5&2A1&0&0.0.0)";
    std::array<uint8_t, 512> Data{};
    uint32_t uSize = 0;
    EXPECT_FALSE(g_IsThere(kStickId) || OpenDrive(kStick, EDriveAccess::kAsk));
    EXPECT_EQ(g_Inventory(L"Win32_DiskDrive", L"PNPDeviceID"), std::vector<std::wstring>{kDiskId});
    EXPECT_EQ(g_Inventory(L"Win32_BaseBoard", L"Manufacturer"), std::vector<std::wstring>{L"Public"});
    LetTimePass(1000);
    EXPECT_TRUE(g_IsThere(kStickId));
    EXPECT_EQ(g_Inventory(L"Win32_DiskDrive", L"PNPDeviceID"), (std::vector<std::wstring>{kDiskId, kStickId}));
    const CDrive Stick = OpenDrive(kStick, EDriveAccess::kReadWrite);
    EXPECT_TRUE(DescribeDrive(Stick, Data, uSize)) << LastError();
    EXPECT_FALSE(IdentifyDrive(Stick, false, Data)) << "it refuses the command";
    LetTimePass(1000);
    EXPECT_FALSE(g_IsThere(kStickId) || OpenDrive(kStick, EDriveAccess::kAsk));
    EXPECT_FALSE(DescribeDrive(Stick, Data, uSize)) << "pulled out of a program's hands";

    EXPECT_TRUE(g_IsThere(kDiskId));
    g_RemoveDriverService();
    EXPECT_FALSE(g_IsThere(kDiskId));
    const auto OwnDisks = g_Inventory(L"Win32_DiskDrive", L"PNPDeviceID");
    EXPECT_FALSE(OwnDisks.empty() || std::ranges::count(OwnDisks, kDiskId)) << "the inventory is the system's";
    EXPECT_NE(g_Inventory(L"Win32_BaseBoard", L"Manufacturer"), std::vector<std::wstring>{L"Public"});
    const CDrive Own = OpenDrive(LR"(\\.\PHYSICALDRIVE0)", EDriveAccess::kAsk);
    ASSERT_TRUE(DescribeDrive(Own, Data, uSize)) << "Windows has its own disk again";
    EXPECT_EQ(Data[28], 1) << "bus";
}

}  // namespace
