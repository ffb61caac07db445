// The registry of devices: creation, filter, duplicates, look-ups, refresh.
#include "devices/framework/device_manager.h"

#include <gmock/gmock.h>
#include <vxtapi/device_controller.h>

#include <fstream>

#include "devices/device_list.h"
#include "platform/text.h"
#include "support/sweep.h"
#include "support/text_cases.h"

namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using vxt::CDevice;
using vxt::CDeviceIdentity;
using vxt::eDeviceType;
using vxttest::g_CheckError;
using vxttest::g_ProcessError;
using vxttest::Lines;

/// What the scripted devices of one test may do, and what happened to them.
struct CScript {
    uint32_t uInstances = 1;
    bool bUnInitWorks = true, bRefreshWorks = true;
    int nAlive = 0, nUnInits = 0, nRefreshes = 0;
};
CScript s_Disk, s_Keyboard, s_Usb, s_OldBios, s_NewBios;

template <const CDeviceIdentity& rIdentity, CScript& rScript, class TBase = CDevice>
struct CScriptedBase : vxt::CDeviceBase<TBase> {
    CScriptedBase() : vxt::CDeviceBase<TBase>(rIdentity) { ++rScript.nAlive; }
    ~CScriptedBase() { --rScript.nAlive; }
    bool Init(uint32_t uIndex) override {
        this->m_uIndex = uIndex;
        return uIndex < rScript.uInstances;
    }
    bool UnInit() override {
        ++rScript.nUnInits;
        return rScript.bUnInitWorks;
    }
};

template <const CDeviceIdentity& rIdentity, CScript& rScript>
struct CScripted final : CScriptedBase<rIdentity, rScript> {};

constexpr CDeviceIdentity Row(eDeviceType eType, const wchar_t* pszName, uint32_t uVersion = 0) {
    return {.eType = eType, .pszName = pszName, .uVersion = uVersion};
}
constexpr CDeviceIdentity kDisk = Row(vxtapi::kDeviceHardDisk, L"Disk"),
                          kKeyboard = Row(vxtapi::kDeviceKeyboard, L"Keys"),
                          kMemory = Row(vxtapi::kDeviceMemory, L"Module"), kUsb = Row(vxtapi::kDeviceUsb, L"Usb"),
                          kOldBios = Row(vxtapi::kDeviceBios, L"Old", 1),
                          kNewBios = Row(vxtapi::kDeviceBios, L"New", 2);
using CDisk = CScripted<kDisk, s_Disk>;
using CKeyboard = CScripted<kKeyboard, s_Keyboard>;
using COldBios = CScripted<kOldBios, s_OldBios>;
using CNewBios = CScripted<kNewBios, s_NewBios>;
struct CUsb final : CScriptedBase<kUsb, s_Usb, vxtapi::CDeviceController> {
    bool RefreshDevices() override {
        ++s_Usb.nRefreshes;
        return s_Usb.bRefreshWorks;
    }
    // Not the manager's business.
    bool GetControllerInfo(vxtapi::ControllerInfo* /*pInfo*/) override { return false; }
    const wchar_t* GetDeviceId() override { return L""; }
    uint32_t GetAttachedCount() override { return 0; }
    bool GetAttached(uint32_t /*uDevice*/, vxtapi::AttachedDevice* /*pDevice*/) override { return false; }
    uint32_t GetChanges() override { return 0; }
};
/// A creation function whose allocation fails.
vxt::CDevicePointer NoMemory() { return nullptr; }

struct CDeviceManagerTest : ::testing::Test {
    CDeviceManagerTest() { s_Disk = s_Keyboard = s_Usb = s_OldBios = s_NewBios = {}; }
    ~CDeviceManagerTest() override {
        EXPECT_EQ(s_Disk.nAlive + s_Keyboard.nAlive + s_Usb.nAlive + s_OldBios.nAlive + s_NewBios.nAlive, 0)
            << "leaked";
    }
    static void WriteList(std::string_view sText) { std::ofstream("DeviceList.cfg", std::ios::binary) << sText; }

    vxttest::CLogCapture m_Log;
};

TEST_F(CDeviceManagerTest, EveryClassGivesInstancesUntilOneRefusesOrSixteenExist) {
    s_Disk.uInstances = 3;
    s_Keyboard.uInstances = 100;
    s_Usb.uInstances = 0;
    constexpr vxt::CCreateFunction kList[] = {vxt::g_CreateDevice<CDisk>, NoMemory, vxt::g_CreateDevice<CKeyboard>,
                                              vxt::g_CreateDevice<CUsb>};
    vxt::CDeviceManager Manager(kList);
    ASSERT_TRUE(Manager.Init(nullptr));
    EXPECT_EQ(Manager.GetDeviceCount(vxtapi::kDeviceHardDisk), 3u);
    EXPECT_EQ(Manager.GetDeviceCount(vxtapi::kDeviceKeyboard), 16u);
    EXPECT_EQ(Manager.GetDeviceTypeCount(), 2u);
    const Lines Log = m_Log.Take();
    EXPECT_THAT(Lines(Log.begin(), Log.begin() + 4), ElementsAre("4 Created device Disk.", "4 Added device Disk.",
                                                                 "4 Created device Disk.", "4 Added device Disk."));
    EXPECT_THAT(Log, Contains("4 Failed to initialize device Disk."));
    EXPECT_THAT(Log, Contains("1 " + g_CheckError("pDevice", "CDeviceManager::Init")));

    EXPECT_EQ(Manager.GetDevice(vxtapi::kDeviceHardDisk, 2)->GetIndex(), 2u);
    EXPECT_EQ(Manager.GetDevice(1)->GetType(), vxtapi::kDeviceKeyboard) << "types ascend";
    EXPECT_EQ(Manager.GetDeviceCountByName(L"Disk"), 3u);
    EXPECT_EQ(Manager.GetDeviceCountByName(L"disk"), 0u);
    EXPECT_EQ(Manager.GetDeviceCountByName(nullptr), 0u);
    EXPECT_EQ(Manager.GetDevice(vxtapi::kDeviceHardDisk, 3), nullptr);
    EXPECT_EQ(Manager.GetDevice(vxtapi::kDeviceGpu, 0), nullptr);
    EXPECT_THAT(m_Log.TakeErrors(), IsEmpty());
    EXPECT_EQ(Manager.GetDevice(2), nullptr);
    EXPECT_EQ(Manager.GetDeviceCount(vxtapi::kDeviceGpu), 0u);
    EXPECT_THAT(m_Log.TakeErrors(),
                ElementsAre(g_ProcessError("uIndex < m_DeviceList.size()", "CDeviceManager::GetDevice"),
                            g_ProcessError("itType != m_DeviceList.end()", "CDeviceManager::GetDeviceCount")));
    EXPECT_TRUE(Manager.UnInit());
    EXPECT_EQ(s_Disk.nUnInits, 3);
    EXPECT_EQ(Manager.GetDeviceTypeCount(), 0u);
}

TEST_F(CDeviceManagerTest, TheDeviceListAllowsOrDeniesTypes) {
    constexpr vxt::CCreateFunction kList[] = {vxt::g_CreateDevice<CDisk>, vxt::g_CreateDevice<CKeyboard>,
                                              vxt::g_CreateDevice<CUsb>};
    auto Rows = vxttest::g_CaseRows("device_lists.txt");
    std::string sUtf16 = "\xFF\xFE";
    for (const char c : std::string_view("[on]\nUSB Controller")) sUtf16.append({c, '\0'});
    Rows.push_back({"Windows line ends, other case", "[ON] comment\r\nharddisk\r\n", "1", "yes", "right"});
    Rows.push_back({"empty: nothing is allowed", "", "0", "no", "right"});
    Rows.push_back({"UTF-8 mark", "\xEF\xBB\xBF[on]\nHardDisk\n", "1", "yes", "right"});
    Rows.push_back({"UTF-16", sUtf16, "1", "no", "right"});
    Rows.push_back({"zero bytes", std::string("[on]\n\0\0\0\0HardDisk\n", 18), "0", "no", "right"});
    for (const auto& rRow : Rows) {
        SCOPED_TRACE(rRow.at(0));
        WriteList(rRow[1]);
        vxt::CDeviceManager Manager(kList);
        EXPECT_TRUE(Manager.Init(nullptr));
        EXPECT_EQ(std::to_string(Manager.GetDeviceTypeCount()), rRow[2]);
        EXPECT_EQ(Manager.GetDevice(vxtapi::kDeviceHardDisk, 0) != nullptr, rRow[3] == "yes");
        const std::string sWrongMode = g_ProcessError("false", "CDeviceManager::_ReadDeviceListConfig");
        EXPECT_EQ(m_Log.TakeErrors(), rRow.at(4) == "wrong" ? Lines{sWrongMode} : Lines{});
    }
}

TEST_F(CDeviceManagerTest, AListOfDisallowedTypesEndsTheClassWithoutProbingIt) {
    WriteList("[off]\nHardDisk\n");
    constexpr vxt::CCreateFunction kList[] = {vxt::g_CreateDevice<CDisk>};
    vxt::CDeviceManager Manager(kList);
    EXPECT_TRUE(Manager.Init(nullptr));
    EXPECT_THAT(m_Log.Take(), ElementsAre("4 Created device Disk."));
    // Kept: the mode outlives the list, so an empty file then denies nothing.
    EXPECT_TRUE(Manager.UnInit());
    WriteList("");
    EXPECT_TRUE(Manager.Init(nullptr));
    EXPECT_EQ(Manager.GetDeviceTypeCount(), 1u);
}

TEST_F(CDeviceManagerTest, AnEntryListsEveryTypeWhoseTextItBeginsWith) {
    static CScript s_Memory, s_Controller;
    static constexpr CDeviceIdentity kController = Row(vxtapi::kDeviceMemoryController, L"Controller");
    constexpr vxt::CCreateFunction kList[] = {vxt::g_CreateDevice<CScripted<kMemory, s_Memory>>,
                                              vxt::g_CreateDevice<CScripted<kController, s_Controller>>};
    WriteList("[on]\nMemory Controller\n");
    vxt::CDeviceManager Both(kList);
    EXPECT_TRUE(Both.Init(nullptr));
    EXPECT_EQ(Both.GetDeviceTypeCount(), 2u);
    WriteList("[on]\nMemory\n");
    vxt::CDeviceManager One(kList);
    EXPECT_TRUE(One.Init(nullptr));
    EXPECT_EQ(One.GetDeviceTypeCount(), 1u);
    EXPECT_NE(One.GetDevice(vxtapi::kDeviceMemory, 0), nullptr);
}

TEST_F(CDeviceManagerTest, OfTwoClassesForOneDeviceTheOlderIsDroppedAndANewerOneEndsTheStart) {
    constexpr vxt::CCreateFunction kNewFirst[] = {vxt::g_CreateDevice<CNewBios>, vxt::g_CreateDevice<COldBios>};
    vxt::CDeviceManager Manager(kNewFirst);
    s_OldBios.bUnInitWorks = false;
    EXPECT_TRUE(Manager.Init(nullptr));
    EXPECT_STREQ(Manager.GetDevice(vxtapi::kDeviceBios, 0)->GetName(), L"New");
    EXPECT_EQ(s_OldBios.nUnInits, 1);
    const Lines Log = m_Log.Take();
    EXPECT_THAT(Log, Contains("4 Delete old device Old."));
    EXPECT_THAT(Log, Contains("1 " + g_CheckError("bRetCode", "CDeviceManager::Init")));

    constexpr vxt::CCreateFunction kOldFirst[] = {vxt::g_CreateDevice<COldBios>, vxt::g_CreateDevice<CNewBios>,
                                                  vxt::g_CreateDevice<CDisk>};
    vxt::CDeviceManager Stopped(kOldFirst);
    EXPECT_FALSE(Stopped.Init(nullptr)) << "kept: a built-in device is never replaced";
    EXPECT_STREQ(Stopped.GetDevice(vxtapi::kDeviceBios, 0)->GetName(), L"Old");
    EXPECT_EQ(Stopped.GetDevice(vxtapi::kDeviceHardDisk, 0), nullptr);
    const Lines StoppedLog = m_Log.Take();
    EXPECT_THAT(StoppedLog, Contains("4 Delete old device Old and add new device."));
    EXPECT_THAT(StoppedLog, Contains("1 " + g_ProcessError("hTempModule", "CDeviceManager::Init")));

    constexpr vxt::CCreateFunction kTwice[] = {vxt::g_CreateDevice<CNewBios>, vxt::g_CreateDevice<CNewBios>};
    vxt::CDeviceManager Equal(kTwice);
    EXPECT_TRUE(Equal.Init(nullptr)) << "of two equals the first stays";
}

TEST_F(CDeviceManagerTest, RefreshRecreatesWhatComesAndGoes) {
    constexpr vxt::CCreateFunction kList[] = {vxt::g_CreateDevice<CDisk>, vxt::g_CreateDevice<CKeyboard>,
                                              vxt::g_CreateDevice<CUsb>};
    vxt::CDeviceManager Manager(kList);
    ASSERT_TRUE(Manager.Init(nullptr));
    s_Disk.uInstances = 20;
    s_Keyboard.uInstances = 0;
    m_Log.Take();
    EXPECT_TRUE(Manager.Refresh());
    EXPECT_EQ(Manager.GetDeviceCount(vxtapi::kDeviceHardDisk), 20u) << "a refresh knows no limit";
    EXPECT_EQ(s_Usb.nRefreshes, 1);
    EXPECT_THAT(m_Log.TakeErrors(),
                ElementsAre(g_ProcessError("it != m_DeviceList.end()", "CDeviceManager::_RefreshDevice"),
                            g_CheckError("bRetCode", "CDeviceManager::Refresh"),  // optical drives
                            g_ProcessError("it != m_DeviceList.end()", "CDeviceManager::_RefreshDevice"),
                            g_CheckError("bRetCode", "CDeviceManager::Refresh")));  // mice
    EXPECT_EQ(Manager.GetDeviceTypeCount(), 4u) << "kept: an emptied type and the looked-up SATA type stay";
    EXPECT_EQ(Manager.GetDevice(1), nullptr) << "SATA, empty";
    EXPECT_EQ(Manager.GetDeviceCount(vxtapi::kDeviceKeyboard), 0u);
    s_Keyboard.uInstances = 2;
    EXPECT_TRUE(Manager.Refresh());
    EXPECT_EQ(Manager.GetDeviceCount(vxtapi::kDeviceKeyboard), 2u);

    s_Usb.bRefreshWorks = false;
    m_Log.Take();
    EXPECT_FALSE(Manager.Refresh());
    EXPECT_EQ(m_Log.TakeErrors().back(), g_ProcessError("bRetCode", "CDeviceManager::Refresh"));
    m_Log.Take();
    EXPECT_TRUE(Manager.UnInit());
    EXPECT_THAT(m_Log.TakeErrors(),
                Contains(g_CheckError("itModule != itModuleType->second.end()", "CDeviceManager::UnInit")))
        << "kept: a refresh files no modules";
}

TEST_F(CDeviceManagerTest, ADeviceThatCannotLetGoStopsTheRefreshOfItsType) {
    s_Disk.uInstances = 2;
    constexpr vxt::CCreateFunction kList[] = {vxt::g_CreateDevice<CDisk>};
    vxt::CDeviceManager Manager(kList);
    ASSERT_TRUE(Manager.Init(nullptr));
    s_Disk.bUnInitWorks = false;
    Manager.Refresh();
    EXPECT_EQ(Manager.GetDevice(vxtapi::kDeviceHardDisk, 0), nullptr) << "the slot is cleared";
    EXPECT_NE(Manager.GetDevice(vxtapi::kDeviceHardDisk, 1), nullptr);
    m_Log.Take();
    Manager.Refresh();
    EXPECT_THAT(m_Log.TakeErrors(), Contains(g_ProcessError("pDevice", "CDeviceManager::_RefreshDevice")));
    EXPECT_EQ(Manager.GetDeviceCountByName(L"Disk"), 1u);
}

using CDeviceManagerSweep = vxttest::CSweep;

TEST_F(CDeviceManagerSweep, WithoutMemoryNothingIsThrown) {
    s_Disk = s_Keyboard = s_Usb = {.uInstances = 2};
    constexpr vxt::CCreateFunction kList[] = {vxt::g_CreateDevice<CDisk>, vxt::g_CreateDevice<CUsb>};
    std::ofstream("DeviceList.cfg") << "[off]\nMonitor\n";
    vxt::CDeviceManager Manager(kList);
    // A device that there is no memory for is left out.
    Sweep({.sName = "CDeviceManager::Init",
           .Run = [&] { return Manager.Init(nullptr); },
           .Arrange = [&] { Manager.UnInit(); },
           .sSurvives = ".*"});
    Sweep({.sName = "CDeviceManager::Refresh",
           .Run = [&] { return Manager.Refresh(); },
           .Arrange = [&] { Manager.UnInit() && Manager.Init(nullptr); },
           .sSurvives = ".*"});
    EXPECT_EQ(s_Disk.nAlive + s_Usb.nAlive, 4);
    Manager.UnInit();
    EXPECT_EQ(s_Disk.nAlive + s_Usb.nAlive, 0);
}

// ---- the library's own list ------------------------------------------------------------------------------------------------

TEST(CDeviceList, HoldsAllClassesInTheOrderInWhichTheyAreTried) {
    const auto Rows = vxttest::g_CaseRows("device_classes.txt");
    ASSERT_EQ(vxt::g_GetDeviceListCount(), Rows.size());
    for (uint32_t i = 0; i < Rows.size(); ++i) {
        const vxt::CDevicePointer pDevice = vxt::g_GetDeviceList()[i]();
        using vxt::platform::NarrowText;
        EXPECT_EQ(std::vector({std::to_string(pDevice->GetType()), NarrowText(pDevice->GetTypeName()),
                               NarrowText(pDevice->GetName()), std::to_string(pDevice->GetVersion())}),
                  Rows[i]);
        EXPECT_NE(pDevice->GetModel(), nullptr);
        EXPECT_NE(pDevice->GetDescription(), nullptr);
        EXPECT_NE(pDevice->GetVendor(), nullptr);
    }
}

}  // namespace
