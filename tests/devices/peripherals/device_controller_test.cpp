// SATA, IDE and USB controllers: which of the tree's devices they are, and what is attached to them.
#include "devices/peripherals/device_controller.h"

#include <gmock/gmock.h>
#include <vxtapi/device_manager.h>
#include <vxtapi/vxtapi.h>

#include "platform/clock.h"
#include "support/simulated_pc.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using vxtsim::CPluggedDevice;
using vxttest::g_ProcessError;
using vxttest::Lines;
using namespace std::chrono_literals;

constexpr auto kNever = std::chrono::hours(1);  // a thread that stays out of the way
constexpr const char* kController = R"(PCI\VEN_1002&DEV_4397\3&0&90)";

CPluggedDevice Device(const char* pszClass, std::string sId, std::string sParent = "",
                      std::vector<std::string> CompatibleIds = {}) {
    CPluggedDevice Result;
    Result.sClass = pszClass, Result.sId = sId, Result.sParent = std::move(sParent);
    Result.sDescription = std::move(sId), Result.CompatibleIds = std::move(CompatibleIds);
    return Result;
}

struct CControllerTest : vxttest::CSimulatedPc {
    void StartWith(std::vector<CPluggedDevice> Devices) {
        Start(kDefaultMachine, [&](vxtsim::CMachineDescription& rMachine) { rMachine.Devices = std::move(Devices); });
    }
    /// A USB controller and what the tree has besides.
    void StartUsb(std::vector<CPluggedDevice> Others) {
        Others.insert(Others.begin() + static_cast<ptrdiff_t>(Others.size() / 2),
                      Device("usb", kController, "", {R"(PCI\CC_0C0310)"}));
        StartWith(std::move(Others));
        ASSERT_TRUE(m_Usb.Init(0));
    }
    static std::string Narrow(const wchar_t* pszText) {
        const std::wstring_view sText(pszText);
        return std::string(sText.begin(), sText.end());
    }
    /// IDs, indented by the depth.
    static Lines Attached(vxtapi::CDeviceController& rController) {
        Lines Result;
        vxtapi::AttachedDevice Attached;
        for (uint32_t i = 0, uCount = rController.GetAttachedCount(); i < uCount; ++i)
            if (rController.GetAttached(i, &Attached))
                Result.push_back(std::string(Attached.uDepth, ' ') + Narrow(Attached.szId));
        return Result;
    }
    template <class TController> static Lines Models() {
        Lines Result;
        for (uint32_t i = 0;; ++i) {
            TController Controller;
            if (!Controller.Init(i)) return Result;
            vxtapi::ControllerInfo Info;
            EXPECT_TRUE(Controller.GetControllerInfo(&Info));
            char szText[40];
            std::snprintf(szText, sizeof(szText), "%04X:%04X %06X", Info.uPciVendor, Info.uPciDevice, Info.uClassCode);
            Result.emplace_back(szText);
        }
    }

    vxt::CUSBController m_Usb{kNever};
};

TEST_F(CControllerTest, TheClassCodeSaysWhichControllerItIs) {
    StartWith({
        Device("hdc", R"(PCI\VEN_1002&DEV_4391\1)", "",
               {R"(PCI\VEN_1002&DEV_4391)", R"(PCI\CC_010601)", R"(PCI\CC_0106)"}),
        Device("hdc", R"(PCI\VEN_1002&DEV_4393\1)", "", {R"(PCI\CC_0104)"}),
        Device("hdc", R"(pci\VEN_1002&DEV_439c\1)", "", {R"(pci\CC_01018a)"}),
        Device("hdc", R"(PCIIDE\IDECHANNEL\1)"),
        Device("hdc", R"(ACPI\PNP0600\1)", "", {"CC_010601"}),
        Device("hdc", R"(PCI\VEN_10G2&DEV_43\1)", "", {R"(PCI\CC_01)"}),
        Device("usb", R"(PCI\VEN_1002&DEV_4396\1)", "", {R"(PCI\CC_0C0320)"}),
        Device("usb", R"(USB\ROOT_HUB20\1)"),
        Device("usb", R"(PCI\VEN_1002&DEV_1111\1)", "", {R"(PCI\CC_0C0010)"}),
        Device("system", R"(PCI\VEN_1002&DEV_4397\1)", "", {R"(PCI\CC_0C0310)"}),
    });
    EXPECT_THAT(Models<vxt::CSATAController>(), ElementsAre("1002:4391 010601", "1002:4393 010400"));
    EXPECT_THAT(Models<vxt::CIDEController>(), ElementsAre("0000:0000 000000", "1002:439C 01018A", "0000:0000 000000"));
    EXPECT_THAT(Models<vxt::CUSBController>(), ElementsAre("1002:4396 0C0320"));

    vxt::CSATAController Nameless;
    Start(kDefaultMachine, [](vxtsim::CMachineDescription& rMachine) {
        rMachine.Devices.push_back(Device("hdc", R"(PCI\ZLAST)", "", {R"(PCI\CC_0106)"}));
        rMachine.Devices.back().sDescription.clear();
    });
    ASSERT_TRUE(Nameless.Init(1));
    EXPECT_STREQ(Nameless.GetModel(), L"") << "not that of one before it in the tree";
}

TEST_F(CControllerTest, ADeviceFollowsTheOneThatItIsBehind) {
    ASSERT_TRUE(m_Usb.Init(1));  // 1002:4397 behind 1002:4396
    EXPECT_STREQ(m_Usb.GetModel(), L"Standard OpenHCD USB Host Controller");
    EXPECT_STREQ(m_Usb.GetVendor(), L"(Standard USB Host Controller)");
    EXPECT_EQ(m_Usb.GetChanges(), 0u);
    EXPECT_THAT(Attached(m_Usb),
                ElementsAre(R"(USB\ROOT_HUB\4&1A2B3C4&0)", R"( USB\VID_1209&PID_0001\5&1C3D5E7&0&1)",
                            R"(  HID\VID_1209&PID_0001\6&1C3D5E1&0&0000)", R"( USB\VID_1209&PID_0002\5&1C3D5E7&0&2)",
                            R"(  HID\VID_1209&PID_0002\6&1C3D5E2&0&0000)"));
    vxtapi::AttachedDevice Keyboard;
    EXPECT_TRUE(m_Usb.GetAttached(2, &Keyboard));
    EXPECT_STREQ(Keyboard.szName, L"HID Keyboard Device");
    EXPECT_FALSE(m_Usb.GetAttached(5, &Keyboard));
    EXPECT_EQ(m_Usb.GetChanges(), 1u);
}

TEST_F(CControllerTest, ATreeThatMakesNoSenseHoldsNobodyUp) {
    StartUsb({
        Device("usb", "OF_ITSELF", "OF_ITSELF"), Device("usb", "CIRCLE_1", "CIRCLE_2"),
        Device("usb", "CIRCLE_2", "CIRCLE_1"), Device("usb", "ORPHAN", "NOBODY"),
        Device("usb", "BEHIND", "FIRST"),  // told before what it is behind
        Device("usb", "FIRST", R"(pci\ven_1002&dev_4397\3&0&90)"),
        Device("usb", std::string(200, 'X') + "\n" + std::string(300, 'Y'), "first"),
        Device("usb", "FIRST", kController),  // once more
    });
    EXPECT_THAT(Attached(m_Usb),
                ElementsAre("FIRST", " BEHIND", " " + std::string(200, 'X') + "." + std::string(54, 'Y'), "FIRST"));
    EXPECT_TRUE(m_Usb.UnInit());

    std::vector<CPluggedDevice> Chain;  // a walk that calls itself would end here
    for (int i = 0; i < 20'000; ++i)
        Chain.push_back(Device("usb", "D" + std::to_string(i), i ? "D" + std::to_string(i - 1) : kController));
    StartUsb(std::move(Chain));
    vxtapi::AttachedDevice Last;
    ASSERT_EQ(m_Usb.GetAttachedCount(), 20'000u);
    EXPECT_TRUE(m_Usb.GetAttached(19'999, &Last));
    EXPECT_EQ(Last.uDepth, 19'999u);
    EXPECT_TRUE(m_Usb.UnInit());

    CPluggedDevice Top = Device("usb", kController, "LOOP", {R"(PCI\CC_0C0310)"});
    StartWith({Top, Device("usb", "LOOP", kController)});
    ASSERT_TRUE(m_Usb.Init(0));
    EXPECT_THAT(Attached(m_Usb), ElementsAre("LOOP"));
}

TEST_F(CControllerTest, ALookThatFailsLeavesTheList) {
    CPluggedDevice Stick = Device("usb", "STICK", kController);
    Stick.uFrom = 10, Stick.uUntil = 20;
    StartUsb({Stick});
    EXPECT_EQ(m_Usb.GetAttachedCount(), 0u);
    vxt::platform::Sleep(10'000);
    EXPECT_EQ(m_Usb.GetAttachedCount(), 0u) << "the thread's business";
    EXPECT_TRUE(m_Usb.RefreshDevices());
    EXPECT_THAT(Attached(m_Usb), ElementsAre("STICK"));
    EXPECT_EQ(m_Usb.GetChanges(), 2u);
    EXPECT_TRUE(m_Usb.RefreshDevices());
    EXPECT_EQ(m_Usb.GetChanges(), 2u) << "the same again";
    vxt::platform::Sleep(10'000);
    m_Log.Take();
    System().FailAfter(1);  // the list is opened, its first device refused
    EXPECT_FALSE(m_Usb.RefreshDevices());
    EXPECT_THAT(m_Log.TakeErrors(), ElementsAre(g_ProcessError("bRetCode", "CUSBController::RefreshDevices")));
    EXPECT_THAT(Attached(m_Usb), ElementsAre("STICK"));
    EXPECT_TRUE(m_Usb.RefreshDevices());
    EXPECT_THAT(Attached(m_Usb), IsEmpty());
}

TEST_F(CControllerTest, WithoutAHostsDoingTheListIsRenewed) {
    CPluggedDevice Stick = Device("usb", "STICK", kController);
    Stick.uFrom = 10;
    StartUsb({Stick});
    vxt::CUSBController Usb(1ms);
    ASSERT_TRUE(Usb.Init(0));
    TakeTrace();
    EXPECT_EQ(Usb.GetChanges(), 0u) << "nobody looks before the first question";
    EXPECT_THAT(TakeTrace(), IsEmpty());
    EXPECT_EQ(Usb.GetAttachedCount(), 0u);
    vxt::platform::Sleep(10'000);
    for (int i = 0; i < 10'000 && Usb.GetChanges() == 1; ++i) std::this_thread::sleep_for(1ms);
    EXPECT_EQ(Usb.GetChanges(), 2u);
    EXPECT_THAT(Attached(Usb), ElementsAre("STICK"));
    EXPECT_TRUE(Usb.UnInit());
    const uint64_t ullCalls = TraceSize();
    std::this_thread::sleep_for(20ms);
    EXPECT_EQ(TraceSize(), ullCalls) << "the thread has ended";
}

/// Devices of every kind that the device manager renews, each there for some time.
TEST_F(CControllerTest, RefreshFindsWhatHasComeAndForgetsWhatHasGone) {
    Start(kDefaultMachine, [](vxtsim::CMachineDescription& rMachine) {
        for (CPluggedDevice& rDevice : rMachine.Devices)
            if (rDevice.sClass == "keyboard") rDevice.uUntil = 10;
        const auto Come = [&](const char* pszClass, std::string sDrive, const char* pszParent) {
            CPluggedDevice New = Device(pszClass, std::string("NEW\\") + pszClass, pszParent);
            New.sDrive = std::move(sDrive), New.uFrom = 20, New.uUntil = 30;
            rMachine.Devices.push_back(std::move(New));
        };
        Come("diskdrive", "PHYSICALDRIVE1", R"(PCIIDE\IDECHANNEL\4&2617AEAE&0&0)");
        Come("cdrom", "E:", "");
        Come("mouse", "", R"(USB\ROOT_HUB20\4&2B3C4D5&0)");
    });
    ASSERT_TRUE(InitVXTAPI(true));
    auto& rManager = *GetDeviceManager();
    const auto Counts = [&] {
        std::string sCounts;
        for (const auto eType :
             {vxtapi::kDeviceHardDisk, vxtapi::kDeviceCdRom, vxtapi::kDeviceKeyboard, vxtapi::kDeviceMouse})
            sCounts += std::to_string(rManager.GetDeviceCount(eType));
        for (const auto& [eType, uIndex] : {std::pair(vxtapi::kDeviceSata, 0u), std::pair(vxtapi::kDeviceUsb, 0u)})
            sCounts +=
                " " +
                std::to_string(
                    static_cast<vxtapi::CDeviceController*>(rManager.GetDevice(eType, uIndex))->GetAttachedCount());
        return sCounts;
    };
    EXPECT_EQ(Counts(), "1111 2 1");
    for (const char* pszExpected : {"1101 2 1", "2202 3 2", "1101 2 1"}) {
        vxt::platform::Sleep(10'000);
        EXPECT_TRUE(rManager.Refresh());
        EXPECT_EQ(Counts(), pszExpected);
    }
    UnInitVXTAPI();
}

}  // namespace
