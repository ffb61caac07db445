// Monitors, keyboards, mice and the board, as the system shows them.
#include <gmock/gmock.h>

#include <cstring>
#include <numeric>

#include "devices/peripherals/board.h"
#include "devices/peripherals/input_device.h"
#include "devices/peripherals/monitor.h"
#include "support/devices.h"
#include "support/simulated_pc.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using vxtsim::CPluggedDevice;

struct CTreeDevicesTest : vxttest::CSimulatedPc {
    void StartWith(std::vector<CPluggedDevice> Devices) {
        Start(kDefaultMachine, [&](vxtsim::CMachineDescription& rMachine) { rMachine.Devices = std::move(Devices); });
    }
    static CPluggedDevice Device(const char* pszClass, const char* pszId, std::vector<uint8_t> Image = {}) {
        CPluggedDevice Result;
        Result.sClass = pszClass, Result.sId = pszId, Result.Image = std::move(Image);
        return Result;
    }
};

TEST_F(CTreeDevicesTest, AMonitorTellsWhatItsEdidSays) {
    vxt::CDefaultMonitor Monitor;
    ASSERT_TRUE(Monitor.Init(0));
    EXPECT_STREQ(Monitor.GetModel(), L"VXT 22 wide");
    EXPECT_STREQ(Monitor.GetVendor(), L"VXT");
    EXPECT_STREQ(Monitor.GetDescription(), L"LCD, 521 x 293 mm, 1920 x 1080");
    EXPECT_STREQ(Monitor.GetSerialText(), L"VX09360712");
    EXPECT_STREQ(Monitor.GetDeviceId(), LR"(DISPLAY\VXT2201\4&1F2A9C3&0&UID1)");
    vxtapi::MonitorInfo Info;
    ASSERT_TRUE(Monitor.GetMonitorInfo(&Info));
    EXPECT_EQ(Info.uVerdict, vxtapi::kEdidRight);
    EXPECT_THAT((std::vector{Info.uVersion, Info.uRevision, Info.uYear, Info.uWeek, Info.uHighestPixelClock}),
                ElementsAre(1, 3, 2009, 36, 170));
    EXPECT_EQ(Info.uHighestLines, 83u);
    vxtapi::MonitorMode Mode;
    ASSERT_EQ(Monitor.GetModeCount(), 1u);
    ASSERT_TRUE(Monitor.GetMode(0, &Mode));
    EXPECT_EQ(Mode.uPixelClock, 148'500u);
    EXPECT_DOUBLE_EQ(Mode.dRefresh, 60.0);
    EXPECT_TRUE(Mode.bPreferred);
    EXPECT_FALSE(Monitor.GetMode(1, &Mode));
    uint8_t aucEdid[256];
    uint32_t uSize = 127;
    EXPECT_FALSE(Monitor.GetEdid(aucEdid, uSize));
    EXPECT_TRUE(Monitor.GetEdid(aucEdid, uSize = sizeof(aucEdid)));
    EXPECT_EQ(uSize, 128u);
    EXPECT_EQ(aucEdid[127], 0x100 - std::accumulate(aucEdid, aucEdid + 127, 0u) % 256);
    EXPECT_FALSE(Monitor.Init(1));
}

TEST_F(CTreeDevicesTest, AMonitorWithoutAnEdidHasTheSystemsName) {
    CPluggedDevice Nameless = Device("monitor", R"(DISPLAY\A\1)");
    Nameless.sDescription = "Generic\tmonitor";
    StartWith({Nameless, Device("monitor", R"(DISPLAY\B\1)", std::vector<uint8_t>(128, 0xFF)),
               Device("monitor", R"(DISPLAY\C\1)", std::vector<uint8_t>(127))});
    constexpr vxtapi::eEdidVerdict kVerdicts[] = {vxtapi::kEdidNone, vxtapi::kEdidBlank, vxtapi::kEdidShort};
    for (uint32_t i = 0; i < std::size(kVerdicts); ++i) {
        vxt::CDefaultMonitor Monitor;
        vxtapi::MonitorInfo Info;
        ASSERT_TRUE(Monitor.Init(i) && Monitor.GetMonitorInfo(&Info));
        EXPECT_EQ(Info.uVerdict, kVerdicts[i]);
        EXPECT_STREQ(Monitor.GetModel(), i == 0 ? L"Generic.monitor" : L"");
        EXPECT_EQ(Monitor.GetModeCount(), 0u);
        uint8_t aucEdid[256];
        uint32_t uSize = sizeof(aucEdid);
        EXPECT_EQ(Monitor.GetEdid(aucEdid, uSize), i != 0);
    }
}

TEST_F(CTreeDevicesTest, AKeyboardsConnectionIsHowItsIdBegins) {
    constexpr std::pair<const char*, const wchar_t*> kCases[] = {
        {R"(ACPI\PNP0303\4&1&0)", L"PS/2"},
        {R"(HID\CONVERTEDDEVICE&COL01\5&1&0&0000)", L"HID"},
        {R"(HID\VID_1209&PID_0001\6&1&0&0000)", L"USB"},
        {R"(HID\{00001124-0000-1000-8000-00805F9B34FB}_VID&00021209_PID&0001\8&1&0&0000)", L"Bluetooth"},
        {R"(HID\{00001812-0000-1000-8000-00805F9B34FB}_DEV_VID&021209_PID&0001\9&1&0&0000)", L"Bluetooth"},
        {"NOTHING", L"NOTHING"},
        {R"(TERMINPUT_BUS\UMB\2&1&0)", L"TERMINPUT_BUS"},
        {R"(usb\vid_1209&pid_0001\5&1&0&1)", L"USB"},
    };
    std::vector<CPluggedDevice> Devices = {Device("mouse", R"(ACPI\PNP0F13\4&1&0)")};
    for (const auto& [pszId, pszConnection] : kCases) Devices.push_back(Device("keyboard", pszId));
    StartWith(std::move(Devices));
    m_Log.Take();
    uint32_t uIndex = 0;
    for (const auto& [pszId, pszConnection] : kCases) {
        vxt::CDefaultKeyboard Keyboard;
        ASSERT_TRUE(Keyboard.Init(uIndex++)) << pszId;
        EXPECT_STREQ(Keyboard.GetConnection(), pszConnection);
        EXPECT_STREQ(Keyboard.GetDeviceId(), std::wstring(pszId, pszId + strlen(pszId)).c_str());
    }
    EXPECT_FALSE(vxt::CDefaultKeyboard().Init(uIndex));
    EXPECT_THAT(m_Log.TakeErrors(), IsEmpty()) << "no further one is no failure";
    System().FailAfter(0);
    EXPECT_FALSE(vxt::CDefaultKeyboard().Init(0));
    EXPECT_THAT(m_Log.TakeErrors(), ElementsAre(vxttest::g_ProcessError("hList", "CDefaultKeyboard::Init")));
}

TEST_F(CTreeDevicesTest, TheBoardIsReadWithTheFirstQuestion) {
    ASSERT_TRUE(vxt::g_GetSystemWmi().Connect(vxt::kSystemNamespace));
    vxt::CDefaultBoard Board = g_Make<vxt::CDefaultBoard>();
    TakeTrace();
    ASSERT_TRUE(Board.Init(0));
    EXPECT_STREQ(Board.GetModel(), L"Default Board");
    EXPECT_EQ(Board.GetFirstNumber() + Board.GetSecondNumber(), 0u);
    EXPECT_THAT(TakeTrace(), IsEmpty());
    EXPECT_STREQ(Board.GetManufacturer(), L"QOR Boards");
    EXPECT_THAT(TakeTrace(), ::testing::Not(IsEmpty()));
    EXPECT_STREQ(Board.GetProduct(), L"QB-10H3");
    EXPECT_STREQ(Board.GetBoardVersion(), L"1.02");
    EXPECT_STREQ(Board.GetSerialNumber(), L"QB-09-M00417");
    EXPECT_THAT(TakeTrace(), IsEmpty());
    EXPECT_FALSE(Board.Init(1));
}

TEST(CleanText, CharactersThatWouldChangeTheTextAroundThemBecomePoints) {
    vxt::CWideText<8> Text;
    constexpr std::pair<std::wstring_view, std::wstring_view> kCases[] = {
        {L"  plain  ", L"plain"},
        {{L"\0a\0b\0", 5}, L"a.b"},
        {L"\x1B[2J", L".[2J"},
        {L"a\x85\x202E\x200B", L"a..."},
        {L"\xE4\x4E2D", L"\xE4\x4E2D"},
        {L"123456789", L"12345678"},
        {L"", L""},
        {{L"x\xDC00\xD800", 3}, L"x.."},
        {L"\xFFFE\xFEFF", L".."},
    };
    for (const auto& [sRaw, sClean] : kCases) EXPECT_EQ(Text.SetClean(sRaw).View(), sClean);
}

}  // namespace
