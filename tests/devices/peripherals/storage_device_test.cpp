// Hard disks and optical drives: whose word counts, and what is left when nobody answers.
#include "devices/peripherals/storage_device.h"

#include <gmock/gmock.h>

#include <numeric>

#include "support/devices.h"
#include "support/simulated_pc.h"
#include "support/text_cases.h"

namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using vxtsim::CPluggedDevice;
using vxtsim::CWmiValue;
using vxttest::Lines;

constexpr uint64_t kBytes = 160'041'885'696;  // as the disk's owner states them

struct CStorageTest : vxttest::CSimulatedPc {
    CStorageTest() { Connect(); }
    /// The default machine with its first disk changed.
    void StartWith(const std::function<void(CPluggedDevice&)>& Change) {
        Start(kDefaultMachine, [&](vxtsim::CMachineDescription& rMachine) {
            Change(*std::ranges::find(rMachine.Devices, "PHYSICALDRIVE0", &CPluggedDevice::sDrive));
        });
        Connect();
    }
    void Connect() {
        ASSERT_TRUE(vxt::g_GetSystemWmi().Connect(vxt::kSystemNamespace));
        TakeTrace();
    }
    vxtapi::StorageDeviceInfo Info(vxtapi::CStorageDevice& rDrive) {
        vxtapi::StorageDeviceInfo Result;
        EXPECT_TRUE(rDrive.GetStorageInfo(&Result));
        return Result;
    }
    /// Calls that reach the drive, by name.
    Lines DriveCalls() {
        Lines Calls = TakeTrace();
        std::erase_if(Calls, [](const std::string& s) { return s.find("Drive") == s.npos; });
        return Calls;
    }

    vxt::CDefaultHardDisk m_Disk = g_Make<vxt::CDefaultHardDisk>();
    vxt::CDefaultCDRom m_Optical = g_Make<vxt::CDefaultCDRom>();
};

TEST_F(CStorageTest, ADriveIsOpenedOnceAndItsOwnWordWins) {
    ASSERT_TRUE(m_Disk.Init(0));
    EXPECT_THAT(DriveCalls(), ElementsAre("OpenDrive", "IdentifyDrive", "DescribeDrive"));
    EXPECT_STREQ(m_Disk.GetModel(), L"ST3160023AS") << "not the system's, with its \"ATA Device\"";
    EXPECT_STREQ(m_Disk.GetSerialNumber(), L"3JS2KSL3");
    EXPECT_STREQ(m_Disk.GetFirmware(), L"3.18");
    EXPECT_STREQ(m_Disk.GetPath(), LR"(\\.\PHYSICALDRIVE0)");
    EXPECT_STREQ(m_Disk.GetDescription(), L"SATA disk, 160.0 GB");
    EXPECT_STREQ(m_Disk.GetVendor(), L"") << "the system's generic word is no maker's";
    EXPECT_STREQ(m_Disk.GetStandard(), L"ATA/ATAPI-6");
    const vxtapi::StorageDeviceInfo Told = Info(m_Disk);
    EXPECT_EQ(Told.uVerdict, vxtapi::kIdentifyRight);
    EXPECT_EQ(Told.ullBytes, kBytes);
    EXPECT_EQ(Told.ullSectors, 312'581'808u);
    EXPECT_EQ(Told.uBus, 11u);
    EXPECT_EQ(Told.nUltraDmaMode, 6);
    EXPECT_EQ(Told.nMultiwordDmaMode, -1) << "another kind is in use";
    EXPECT_EQ(Told.bSolidState, vxtapi::kNotTold) << "older than the word that tells";
    EXPECT_EQ(Told.bSecurityEnabled, vxtapi::kNo);
    vxtapi::StorageDeviceFeature Feature;
    std::map<std::string, std::pair<int, int>> Features;
    for (uint32_t i = 0; m_Disk.GetFeature(i, &Feature); ++i)
        Features[Feature.pszName] = {Feature.bSupported, Feature.bEnabled};
    EXPECT_EQ(Features.size(), m_Disk.GetFeatureCount());
    EXPECT_EQ(Features["SMART"], std::pair(+vxtapi::kYes, +vxtapi::kNo));
    EXPECT_EQ(Features["TRIM"], std::pair(+vxtapi::kNo, +vxtapi::kNotTold));
    uint8_t aucData[513];
    uint32_t uSize = 511;
    EXPECT_FALSE(m_Disk.GetIdentifyData(aucData, uSize));
    EXPECT_TRUE(m_Disk.GetIdentifyData(aucData, uSize = sizeof(aucData)));
    EXPECT_EQ(uSize, 512u);
    EXPECT_EQ(std::accumulate(aucData, aucData + 512, 0u) % 256, 0u) << "as the drive sums it";
    EXPECT_FALSE(m_Disk.Init(1));
    ASSERT_TRUE(m_Optical.Init(0));
    EXPECT_STREQ(m_Optical.GetPath(), LR"(\\.\D:)");
    EXPECT_STREQ(m_Optical.GetModel(), L"QOR DVD-RW 16X");
    EXPECT_STREQ(m_Optical.GetDescription(), L"ATAPI optical drive");
    EXPECT_TRUE(Info(m_Optical).bRemovable);
}

TEST_F(CStorageTest, WithoutRightsTheSystemAnswersForTheDrive) {
    System().m_bHasRights = false;
    m_Log.Take();
    ASSERT_TRUE(m_Disk.Init(0));
    EXPECT_THAT(DriveCalls(), ElementsAre("OpenDrive", "OpenDrive", "DescribeDrive"));
    EXPECT_THAT(m_Log.TakeErrors(), IsEmpty()) << "nothing failed that could have worked";
    EXPECT_EQ(Info(m_Disk).uVerdict, vxtapi::kIdentifyNone);
    EXPECT_STREQ(m_Disk.GetModel(), L"ST3160023AS ATA Device");
    EXPECT_STREQ(m_Disk.GetSerialNumber(), L"3JS2KSL3") << "its driver's";
    EXPECT_EQ(Info(m_Disk).ullBytes, kBytes);
    EXPECT_EQ(m_Disk.GetFeatureCount(), 0u);
    uint8_t aucData[512];
    uint32_t uSize = sizeof(aucData);
    EXPECT_FALSE(m_Disk.GetIdentifyData(aucData, uSize));
}

TEST_F(CStorageTest, DataOfNoWorthTellNothing) {
    StartWith([](CPluggedDevice& rDisk) { rDisk.Image.assign(512, 0xFF), rDisk.sVendor = "Maker"; });
    ASSERT_TRUE(m_Disk.Init(0));
    EXPECT_EQ(Info(m_Disk).uVerdict, vxtapi::kIdentifyBlank);
    EXPECT_EQ(m_Disk.GetFeatureCount(), 0u);
    EXPECT_STREQ(m_Disk.GetVendor(), L"Maker");
    StartWith([](CPluggedDevice& rDisk) { rDisk.Image[511] ^= 1, rDisk.sSerial.clear(), rDisk.ullBytes = 7'900'000; });
    vxt::CDefaultHardDisk Doubtful = g_Make<vxt::CDefaultHardDisk>();
    ASSERT_TRUE(Doubtful.Init(0));
    EXPECT_EQ(Info(Doubtful).uVerdict, vxtapi::kIdentifyWrongSum);
    EXPECT_STREQ(Doubtful.GetModel(), L"ST3160023AS ATA Device");
    EXPECT_STREQ(Doubtful.GetSerialNumber(), L"3JS2KSL3") << "the only one";
    EXPECT_STREQ(Doubtful.GetDescription(), L"SATA disk, 7.9 MB");
}

TEST_F(CStorageTest, TheManagementServiceMayAnswerAnything) {
    const auto Text = [](const char* pszText) { return CWmiValue::Text(pszText); };
    const std::map<std::string, CWmiValue> Disks[] = {
        {},
        {{"DeviceID", CWmiValue::Typed(CWmiValue::kNull)},
         {"Model", CWmiValue::Integer(7)},
         {"Size", CWmiValue::Integer(5)}},
        {{"DeviceID", Text(R"(\\.\PIPE\other)")},
         {"Model", Text("  A\aB\x7F ")},
         {"Size", Text("18446744073709551616")}},
        {{"DeviceID", Text(R"(C:\file)")}, {"Size", Text("18446744073709551615")}, {"Manufacturer", Text("(Any)")}},
        {{"DeviceID", Text(R"(\\\\.\\PHYSICALDRIVE9)")}, {"Size", Text("12 GB")}, {"SerialNumber", Text("S\n1")}},
    };
    Start(kDefaultMachine, [&](vxtsim::CMachineDescription& rMachine) {
        rMachine.Devices.clear();
        for (const auto& rProperties : Disks) rMachine.Wmi.push_back({"root\\cimv2", "Win32_DiskDrive", rProperties});
    });
    Connect();
    constexpr struct {
        const wchar_t *pszModel, *pszSerial, *pszPath;
        uint64_t ullBytes;
        bool bOpened;
    } kExpected[] = {
        {L"", L"", L"", 0, false},
        {L"", L"", L"", 0, false},
        {L"A.B.", L"", LR"(\\.\PIPE\other)", 0, false},
        {L"", L"", LR"(C:\file)", UINT64_MAX, false},
        {L"", L"S.1", LR"(\\.\PHYSICALDRIVE9)", 0, true},
    };
    for (uint32_t i = 0; i < std::size(kExpected); ++i) {
        SCOPED_TRACE(i);
        vxt::CDefaultHardDisk Disk = g_Make<vxt::CDefaultHardDisk>();
        ASSERT_TRUE(Disk.Init(i));
        EXPECT_STREQ(Disk.GetModel(), kExpected[i].pszModel);
        EXPECT_STREQ(Disk.GetSerialNumber(), kExpected[i].pszSerial);
        EXPECT_STREQ(Disk.GetPath(), kExpected[i].pszPath);
        EXPECT_STREQ(Disk.GetVendor(), L"");
        EXPECT_EQ(Info(Disk).ullBytes, kExpected[i].ullBytes);
        EXPECT_EQ(!DriveCalls().empty(), kExpected[i].bOpened);
    }
    EXPECT_THAT(m_Log.TakeErrors(), IsEmpty());
}

TEST(StorageDescriptor, ATextIsTakenFromBehindTheNumbersUpToItsEndOrThatOfTheBytes) {
    for (const auto& rRow : vxttest::g_CaseRows("storage_descriptors.txt")) {
        SCOPED_TRACE(rRow.at(0));
        std::vector<uint8_t> Bytes(std::stoul(rRow.at(1)));
        for (const auto& [uOffset, ullByte] : vxttest::g_HexPairs(rRow.at(2)))
            Bytes.at(uOffset) = static_cast<uint8_t>(ullByte);
        const vxt::CStorageDescriptor Told = vxt::g_DecodeStorageDescriptor(Bytes);
        const auto Quoted = [](std::string_view sText) { return "\"" + std::string(sText) + "\" "; };
        EXPECT_EQ(Quoted(Told.Vendor.Get()) + Quoted(Told.Product.Get()) + Quoted(Told.Revision.Get()) +
                      Quoted(Told.SerialNumber.Get()) + std::to_string(Told.uBus) +
                      (Told.bRemovable ? " removable" : ""),
                  rRow.at(3));
    }
}

}  // namespace
