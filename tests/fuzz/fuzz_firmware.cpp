// Everything the library asks the firmware, on a firmware whose answers the input makes up: other types, other sizes,
// counts that lie, results that stop short. Nothing may be read or written out of bounds, and nothing be forgotten.
#include <algorithm>
#include <cstring>

#include "devices/chipset/clock_generator.h"
#include "devices/chipset/voltage_controllers.h"
#include "firmware/bios_device.h"
#include "firmware/bios_handler.h"
#include "firmware/cmos_items.h"
#include "platform/simulated/simulated_system.h"
#include "sim/firmware.h"
#include "support/devices.h"

using namespace vxt::platform::simulated;
using vxtsim::CWmiValue;

namespace {

/// Numbers and bytes out of the input; zeros when it is used up.
class CInput {
public:
    CInput(const uint8_t* pData, size_t uSize) : m_Left(pData, uSize) {}
    bool IsEmpty() const { return m_Left.empty(); }
    uint8_t Byte() {
        if (m_Left.empty()) return 0;
        const uint8_t ucByte = m_Left.front();
        m_Left = m_Left.subspan(1);
        return ucByte;
    }
    int32_t Number() {  // small ones more often than others
        const uint8_t ucKind = Byte();
        if (ucKind < 192) return ucKind - 64;
        uint32_t uNumber = 0;
        for (int i = 0; i < 4; ++i) uNumber = uNumber << 8 | Byte();
        return static_cast<int32_t>(uNumber);
    }
    std::string Text() {
        std::string sText(Byte(), '\0');
        std::ranges::generate(sText, [this] { return static_cast<char>(Byte()); });
        return sText;
    }

private:
    std::span<const uint8_t> m_Left;
};

/// Kinds of values, as `Value` makes them.
enum EKind : uint8_t { kNumber = 2, kObject = 5, kNumbers = 6, kBytes = 7, kTexts = 8, kKinds = 12 };

CWmiValue Value(CInput& rInput, uint8_t ucKind) {
    CWmiValue Result;
    switch (ucKind % kKinds) {
        case 0:
            return {};
        case 1:
            return CWmiValue::Typed(CWmiValue::kNull);
        case kNumber:
            return CWmiValue::Integer(rInput.Number());
        case 3:
            return CWmiValue::Text(rInput.Text());
        case 4:
            return CWmiValue::Typed(CWmiValue::kBoolean);
        case kObject:
            return CWmiValue::Object({"Thing", {{"length", CWmiValue::Integer(rInput.Number())}}});
        case kNumbers: {
            std::vector<int32_t> Numbers(rInput.Byte());
            std::ranges::generate(Numbers, [&] { return rInput.Number(); });
            return CWmiValue::IntegerArray(std::move(Numbers));
        }
        case kBytes: {
            const std::string sBytes = rInput.Text() + rInput.Text() + rInput.Text();
            return CWmiValue::ByteArray({sBytes.begin(), sBytes.end()});
        }
        case kTexts: {
            std::vector<std::string> Texts(rInput.Byte() % 8);
            std::ranges::generate(Texts, [&] { return rInput.Text(); });
            return CWmiValue::TextArray(std::move(Texts));
        }
        case 9:
            Result = CWmiValue::Typed(CWmiValue::kIntegers);
            Result.bNullArray = true;
            return Result;
        case 10:
            Result = CWmiValue::Typed(CWmiValue::kIntegers);
            Result.bNoData = true;
            return Result;
        default:
            return CWmiValue::Typed(static_cast<uint16_t>(rInput.Byte() << 8 | rInput.Byte()));
    }
}

/// What the methods answer, and of which kind it is when the firmware is well.
constexpr struct {
    const char *pszMethod, *pszProperty;
    EKind eKind;
} kAnswers[] = {
    {"GetObjectID", "pack", kObject},
    {"GetObjectID", "length", kNumber},
    {"GetObjectID", "ID", kNumbers},
    {"GetObjectID", "property", kNumbers},
    {"GetObjectID", "IDstring", kTexts},
    {"GetValue", "pack", kObject},
    {"GetValue", "status", kNumber},
    {"GetValue", "value", kNumber},
    {"SetValue", "status", kNumber},
    {"GetInfo", "pack", kObject},
    {"GetInfo", "x", kNumbers},
    {"GetDValues", "pack", kObject},
    {"GetDValues", "length", kNumber},
    {"GetDValues", "DValueBuffer", kNumbers},
    {"Init", "status", kNumber},
    {"RunCMD", "Outbuf", kObject},
    {"RunCMD", "Result", kBytes},
    {"QueryVersion", "Version", kNumber},
    {"QueryCommandList", "CommandList", kObject},
    {"QueryCommandList", "CommandCount", kNumber},
    {"QueryCommandList", "List", kNumbers},
};
constexpr const char* kBiosTexts[] = {"SerialNumber", "Manufacturer", "Description", "SMBIOSBIOSVersion",
                                      "ReleaseDate"};

vxtsim::CMachineDescription Describe(CInput& rInput) {
    vxtsim::CMachineDescription Machine;
    vxtsim::CFirmwareDescription& rFirmware = Machine.oFirmware.emplace();
    for (const uint32_t uId : {0x01010000u, 0x01020000u, 0x01030000u, 0x02010000u, 0x02070000u}) {
        vxtsim::CFirmwareObject& rObject = rFirmware.Objects.emplace_back();
        rObject.uId = uId;
        rObject.sName = "object";
        rObject.Values = {100, 200, 300};
        rObject.Info = {100, 300, 0, 100};
    }
    rFirmware.Items.push_back({"item", 0, {"Disabled", "Auto"}});
    vxtsim::CWmiInstance& rBios = Machine.Wmi.emplace_back();
    rBios.sNamespace = "root\\cimv2";
    rBios.sClass = "Win32_BIOS";
    for (const char* const pszText : kBiosTexts)
        rBios.Properties[pszText] = rInput.Byte() % 4 ? CWmiValue::Text("text") : Value(rInput, rInput.Byte());
    while (!rInput.IsEmpty()) {
        const auto& [pszMethod, pszProperty, eKind] = kAnswers[rInput.Byte() % std::size(kAnswers)];
        vxtsim::CFirmwareAnswer& rAnswer = rFirmware.Answers[pszMethod];
        // Most of all the right kind with a wrong content: other kinds are turned away before anything can go wrong.
        const uint8_t ucHow = rInput.Byte();
        if (ucHow < 8)
            rAnswer.bFails = true;
        else if (ucHow < 16)
            rAnswer.Properties[pszProperty] = std::nullopt;
        else
            rAnswer.Properties[pszProperty] = Value(rInput, ucHow < 64 ? ucHow : uint8_t{eKind});
    }
    return Machine;
}

void UseVoltages(vxtapi::CVoltageController& rController) {
    if (!rController.Init(0)) return;
    for (uint32_t i = 0; i <= rController.GetVoltageCount() && i < 64; ++i) {
        const int32_t nIndex = static_cast<int32_t>(i);
        vxtapi::FirmwareLimits Limits{};
        rController.GetVoltageLimits(nIndex, &Limits);
        if (wcslen(rController.GetVoltageName(nIndex)) > 63) __builtin_trap();
        rController.SetVoltage(nIndex, rController.GetVoltage(nIndex));
    }
}

void UseObjects() {
    vxt::CQORBIOSHandler& rHandler = vxt::g_GetQORBIOSHandler();
    rHandler.Init();
    std::vector<uint32_t> Info;
    rHandler.GetInfo(0x01010000, Info);
    double adValues[16];
    int32_t nCount = std::size(adValues);
    rHandler.GetDValues(0x01010000, adValues, nCount);
}

void UseCommands() {
    vxt::CQORBIOS Bios(vxt::g_GetFirmwareWmi());
    Bios.Init();
    vxt::CCMOSItemList Items(Bios);
    Items.Init();
    for (const vxt::QOR_CMOS_ITEM& rItem :
         std::span(Items.GetItemList()).first(std::min<size_t>(Items.GetItemList().size(), 8)))
        for (const auto& rOption : rItem.szOptionList)
            if (vxt::g_CmosText(rOption).size() > vxt::kCmosOptionSize) __builtin_trap();
    Items.GetItemValue(0);
    Items.SetItemValue(0, 1);
    vxt::CBIOSMiscInfo Misc(Bios);
    Misc.Init();
    if (std::strlen(Misc.GetVendorName()) > 64) __builtin_trap();
}

void UseClocks() {
    auto ClockGen = g_Make<vxt::CDefaultClockGen>();
    if (!ClockGen.Init(0)) return;
    uint32_t uSize = 0;
    vxtapi::FirmwareLimits Limits{};
    ClockGen.GetExternalClockList(nullptr, uSize);
    ClockGen.GetClockLimits(vxtapi::CClockGenerator::kPCIeClock, &Limits);
    ClockGen.SetExternalClock(ClockGen.GetExternalClock());
}

void UseIdentity() {
    auto Identity = g_Make<vxt::CDefaultBIOS>();
    Identity.Init(0);
}

template <class TController> void UseVoltagesOf() {
    auto Controller = g_Make<TController>();
    UseVoltages(Controller);
}

/// Who asks the firmware. The first byte of an input chooses one: all at once are slow, and meet no more.
constexpr void (*kUsers[])() = {UseObjects,
                                UseCommands,
                                UseClocks,
                                UseIdentity,
                                UseVoltagesOf<vxt::CCustomerPWMController>,
                                UseVoltagesOf<vxt::CDefaultPWMController>};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t uSize) {
    vxt::CWmiHandler* const apHandlers[] = {&vxt::g_GetSystemWmi(), &vxt::g_GetFirmwareWmi(),
                                            &vxt::g_GetQORBIOSHandler()};
    constexpr size_t kEnough = 768;  // of wrong answers; what is longer only takes time
    CInput Input(pData, std::min(uSize, kEnough));
    const uint8_t ucUser = Input.Byte() % std::size(kUsers);
    g_Restart(Describe(Input));
    g_GetSystem().m_Wmi.Firmware()->m_bYields = false;  // one thread alone
    for (vxt::CWmiHandler* const pHandler : apHandlers)
        if (!pHandler->Connect(pHandler == apHandlers[0] ? vxt::kSystemNamespace : vxt::kFirmwareNamespace))
            __builtin_trap();
    kUsers[ucUser]();
    for (vxt::CWmiHandler* const pHandler : apHandlers) pHandler->Disconnect();
    if (!g_GetSystem().m_Handles.empty()) __builtin_trap();  // an object was forgotten
    for (const auto& [sName, rMutex] : g_GetSystem().m_Mutexes)
        if (rMutex.uTaken != 0) __builtin_trap();
    g_Restart({});  // what is left behind would be taken for a leak
    return 0;
}
