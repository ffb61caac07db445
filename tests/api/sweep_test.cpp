// Every operation of the library with each of its requests, system calls and allocations failing in turn.
#include "support/sweep.h"

#include <unistd.h>
#include <vxtapi/vxtapi.h>

#include <fstream>

#include "api/engine.h"
#include "api/log/log.h"
#include "devices/cpu/cpu.h"
#include "devices/device_list.h"
#include "devices/graphics/graphics_processor.h"
#include "devices/memory/memory_module.h"
#include "devices/peripherals/peripheral_devices.h"
#include "firmware/acpi_table.h"
#include "firmware/bios_device.h"
#include "firmware/bios_handler.h"
#include "firmware/cmos_items.h"
#include "firmware/wmi_values.h"
#include "platform/thread.h"
#include "support/devices.h"

namespace {

using vxtapi::eDeviceType;
using vxttest::COperation;

/// A machine, the classes that drive it, and values that its processor takes.
struct CMachine {
    const char *pszName, *pszCpu, *pszMemory, *pszLink;
    double dMultiplier, dVolts;
    bool bHardwarePstates, bFamily10h, bConfigurationWindow;
};
constexpr CMachine kMachines[] = {
    {"k8-first", "CCorvel64CPU", "CMoldanMemoryController", "CHTLink", 6.0, 1.2, false, false, false},
    {"k8-revf-dual", "CCorvel64X2CPU", "CKDFMemoryController", "CHTLink", 6.0, 1.2, false, false, false},
    {"family10h-ddr2", "CBrevikCPU", "CBrevikMemoryController", "CBrevikHTLink", 9.0, 1.2, true, true, false},
    {"family10h-ddr3", "CBrevikCPU", "CBrevikMemoryController", "CBrevikHTLink", 9.0, 1.2, true, true, true},
    {"family11h-mobile", "CTalvorCPU", "CTalvorMemoryController", "CTalvorHTLink", 9.0, 1.0, true, false, true},
};

class CSweepTest : public vxttest::CSweep, public ::testing::WithParamInterface<CMachine> {
protected:
    ~CSweepTest() override {
        System().StopFailing();
        UnInitVXTAPI();
    }

    /// As a new process would find it.
    void Restart() {
        UnInitVXTAPI();
        vxt::g_GetACPITable().Clear();
        System().m_Services.clear(), System().m_Semaphores.clear(), System().m_Mutexes.clear();
        m_Log.Forget();  // hundreds of starts: no long file is read again and again
        vxt::g_GetLog().Init("VXTAPI", 65535, vxt::CLog::kToFile, 10000);
    }
    template <class TDevice> TDevice& Device(eDeviceType eType, uint32_t uIndex = 0) {
        auto* const pDevice = GetDeviceManager()->GetDevice(eType, uIndex);
        EXPECT_NE(pDevice, nullptr) << eType;
        return *static_cast<TDevice*>(pDevice);
    }
    void Each(const std::string& sClass, const std::vector<COperation>& rOperations) {
        for (COperation Operation : rOperations) {
            Operation.sName = sClass + "::" + Operation.sName;
            Sweep(Operation);
        }
    }
};

class CMachineSweep : public CSweepTest {
protected:
    void SetUp() override {
        Start(GetParam().pszName);
        if (!GetParam().bConfigurationWindow) m_sSecondWay = "^$";
        Restart();
        ASSERT_TRUE(InitVXTAPI(true));
    }
};
INSTANTIATE_TEST_SUITE_P(Machines, CMachineSweep, ::testing::ValuesIn(kMachines), [](const auto& rInfo) {
    std::string sName = rInfo.param.pszName;
    std::erase(sName, '-');
    return sName;
});

TEST_P(CMachineSweep, Processor) {
    const CMachine& rMachine = GetParam();
    const uint32_t uCore = GetDeviceManager()->GetDeviceCount(vxtapi::kDeviceCpu) - 1;
    auto& rCpu = Device<vxtapi::CCPU>(vxtapi::kDeviceCpu, uCore);
    const double dMultiplier = rCpu.GetCurrentMultiplier(), dVolts = rCpu.GetCurrentVoltage();
    const auto Add = [&](const char* pszName, const std::function<bool()>& Run) {
        // Whatever runs on one core pins the thread there first and leaves it there.
        vxt::platform::SetThreadAffinity(1);
        TakeTrace();
        EXPECT_TRUE(Run()) << pszName;
        const vxttest::Lines Trace = TakeTrace();
        EXPECT_EQ(Trace.front(), "SetThreadAffinity") << pszName;
        for (const std::string& sLine : Trace)
            EXPECT_TRUE(sLine.substr(2, 3) != "msr" || sLine.substr(6, 2) == std::to_string(uCore) + " ") << sLine;
        EXPECT_EQ(vxt::platform::simulated::g_CurrentCore(), uCore) << pszName;
        Each(rMachine.pszCpu, {{.sName = std::string("(") + pszName + "|_PinThread)", .Run = Run, .Arrange = [&] {
                                    rCpu.SetCurrentMultiplier(dMultiplier), rCpu.SetCurrentVoltage(dVolts);
                                }}});
    };
    Add("GetCurrentMultiplier", [&] { return rCpu.GetCurrentMultiplier() != 0.0; });
    Add("GetCurrentVoltage", [&] { return rCpu.GetCurrentVoltage() != 0.0; });
    Add("SetCurrentMultiplier", [&] { return rCpu.SetCurrentMultiplier(rMachine.dMultiplier); });
    Add("SetCurrentVoltage", [&] { return rCpu.SetCurrentVoltage(rMachine.dVolts); });
    if (rMachine.bHardwarePstates) Add("SetCurPstate", [&] { return rCpu.SetCurPstate(1); });
    if (rMachine.bFamily10h) {
        vxtapi::CPstate Pstate{};
        ASSERT_TRUE(rCpu.GetPstate(1, &Pstate));
        bool bSupported = false, bEnabled = false;
        Add("GetCurrentNBVoltage", [&] { return rCpu.GetCurrentNBVoltage() != 0.0; });
        Add("SetCurrentNBVoltage", [&] { return rCpu.SetCurrentNBVoltage(1.1); });
        Add("GetCurPstate", [&] { return rCpu.GetCurPstate() != 0xFFFFFFFF; });
        Add("GetMaxPstate", [&] { return rCpu.GetMaxPstate() != 0; });
        Add("SetPstate", [&] { return rCpu.SetPstate(1, &Pstate); });
        Add("SetBoostState", [&] { return rCpu.SetBoostState(true, true); });
        Add("GetBoostState", [&] { return rCpu.GetBoostState(&bSupported, &bEnabled); });
        Add("GetThermTrip", [&] { return rCpu.GetThermTrip() != nullptr; });
    }
    Each("CCPU", {{.sName = "GetCurrentUsage",
                   .Run = [&] { return rCpu.GetCurrentUsage() != 0.0; },
                   .Arrange = [&] { Machine().Advance(1'000'000'000); }}});
    Sweep(
        {.sName = std::string("CCPU::MeasureReferenceClock|") + rMachine.pszCpu + "::(GetCurrentMultiplier|_PinThread)",
         .Run = [&] { return rCpu.GetCurrentClock() > 0.0f; }});
    Each(rMachine.pszCpu,
         {{.sName = "Init", .Run = [&] { return rCpu.Init(uCore); }, .Arrange = [&] { rCpu.UnInit(); }}});
}

TEST_P(CMachineSweep, MemoryController) {
    auto& rController = Device<vxtapi::CMemoryController>(vxtapi::kDeviceMemoryController);
    vxtapi::MemTiming Timing, TimingAsIs;
    vxtapi::MemConfig Config, ConfigAsIs;
    ASSERT_TRUE(rController.GetMemTiming(&TimingAsIs) && rController.GetMemConfig(&ConfigAsIs));
    // The switch for extended configuration space is best effort.
    const std::string sSurvives = "::EnableCf8ExtCfg$";
    const auto Add = [&](const char* pszName, std::function<bool()> Run) {
        // What a failed reading left of the channels must not decide what the next operation does.
        Each(GetParam().pszMemory, {{.sName = pszName,
                                     .Run = std::move(Run),
                                     .Arrange = [&] { rController.GetMemConfig(&Config); },
                                     .sSurvives = sSurvives}});
    };
    Add("GetMemTiming", [&] { return rController.GetMemTiming(&Timing); });
    Add("SetMemTiming", [&] { return rController.SetMemTiming(&TimingAsIs); });
    Add("GetMemConfig", [&] { return rController.GetMemConfig(&Config); });
    Add("SetMemConfig", [&] { return rController.SetMemConfig(&ConfigAsIs); });
    Add("GetMemClock", [&] { return rController.GetMemClock(200.0, 1.0) != 0.0; });
}

TEST_P(CMachineSweep, Link) {
    auto& rLink = Device<vxtapi::CHTLink>(vxtapi::kDeviceHtLink);
    vxtapi::HTConfig Config, Fast;
    ASSERT_TRUE(rLink.GetHTConfig(0, &Fast));
    Fast.dFrequency = 9.0;  // above 1000 MHz: with all steps to a fast link
    Each(GetParam().pszLink, {{.sName = "GetHTConfig", .Run = [&] { return rLink.GetHTConfig(0, &Config); }},
                              {.sName = "SetHTConfig", .Run = [&] { return rLink.SetHTConfig(0, &Fast); }}});
}

// --- below the devices ---

/// A machine with one of each thing that the firmware has: a start is run for every call of a start.
class CLibrarySweep : public CSweepTest {
protected:
    void SetUp() override {
        Start(kDefaultMachine, [](auto& rMachine) {
            rMachine.uCores = 1;
            rMachine.oFirmware->Items.resize(1);
            rMachine.oFirmware->Objects.resize(4);
        });
        vxt::platform::SetThreadAffinity(1);
        Restart();
    }
    vxt::CDriverHandler& Driver() { return vxt::g_GetDriverHandler(); }
};

TEST_F(CLibrarySweep, DriverHandler) {
    uint8_t ucByte = 0;
    uint32_t uLow = 0, uHigh = 0, uMapped = 0, uAllocated = 0;
    std::vector<uint8_t> Large(4096);  // beyond what a request keeps on the stack
    ASSERT_TRUE(StartDriver());
    const auto Map = [&] { return (uMapped = Driver().MapPhysicalMemory(0xFEE00300, 0, 256)) != 0; };
    const auto Unmap = [&] { return Driver().UnmapPhysicalMemory(uMapped); };
    const auto Allocate = [&] { return (uAllocated = Driver().AllocatePhysicalMemory(1, 2, 3, 4, 5)) != 0; };
    const auto Free = [&] { return Driver().FreePhysicalMemory(uAllocated); };
    Each("CDriverHandler",
         {{.sName = "WritePort", .Run = [&] { return Driver().WritePort(0x80, ucByte); }},
          {.sName = "ReadPort", .Run = [&] { return Driver().ReadPort(0x80, ucByte); }},
          {.sName = "RDMSR", .Run = [&] { return Driver().RDMSR(0xC0010070, uLow, uHigh); }},
          {.sName = "WRMSR", .Run = [&] { return Driver().WRMSR(0xC0010070, uLow, uHigh); }},
          {.sName = "ReadMemory", .Run = [&] { return Driver().ReadMemory(0xE0000, 4096, Large.data()); }},
          {.sName = "WriteMemory", .Run = [&] { return Driver().WriteMemory(0x1000, 4096, Large.data()); }},
          {.sName = "GetPCIConfig", .Run = [&] { return Driver().GetPCIConfig(0, 24, 3, 0, Large.data(), 256); }},
          {.sName = "SetPCIConfig", .Run = [&] { return Driver().SetPCIConfig(0, 24, 3, 0, Large.data(), 4); }},
          {.sName = "MapPhysicalMemory", .Run = Map, .Arrange = [&] { uMapped&& Unmap(); }},
          {.sName = "AllocatePhysicalMemory", .Run = Allocate, .Arrange = [&] { uAllocated&& Free(); }},
          {.sName = "InitPCIHeader", .Run = [&] { return Driver().InitPCIHeader(); }},
          {.sName = "AccessSMBus",
           .Run = [&] { return Driver().AccessSMBus(0xA1, 2, ucByte); },
           .Arrange = [&] { Machine().Advance(1'000'000); }},  // lets a started transfer end
          {.sName = "(Init|ReleaseReference)",                 // giving back what was not taken yet is reported, too
           .Run = [&] { return Driver().Init(vxt::g_GetACPITable()); },
           .Arrange = [&] { Restart(); },
           .sSurvives = ".*"}});  // tables, configuration window and a stale service are looked for, not needed
    Sweep({.sName = "CDriverHandler::UnInit",
           .Run = [&] { return Driver().UnInit() && System().m_Handles.empty(); },
           .Arrange =
               [&] { SetUp(), StartDriver() && Map() && Allocate(); },  // a mapping may stay with a driver that refuses
           .sSurvives = ".*"});
    SetUp();
    ASSERT_TRUE(StartDriver());
    Sweep({.sName = "CACPITable::Init",
           .Run = [&] { return vxt::g_GetACPITable().Init(); },
           .Arrange = [&] { vxt::g_GetACPITable().Clear(); },
           .sSurvives = "in CACPITable::Parse$"});  // one table less
}

TEST_F(CLibrarySweep, FirmwareConnections) {
    ASSERT_TRUE(vxt::g_InitEngine());
    vxt::CQORBIOSHandler Handler;
    const auto Connect = [&] { return Handler.Connect(vxt::kFirmwareNamespace); };
    Sweep({.sName = "CWmiHandler::Connect",
           .Run = Connect,
           .Arrange = [&] { Handler.Disconnect(); },
           .sSurvives = "^$",  // a mutex that cannot be opened is made
           .bKeeps = true,
           .bMayBeSilent = true});
    ASSERT_TRUE(Connect());
    vxt::CCapabilityPack Pack;
    std::vector<uint32_t> Info;
    double adValues[64];
    Sweep({.sName = "CWmiHandler::CallMethod",
           .Run = [&] { return Handler.CallMethod(vxt::kFirmwareClass, L"Init", nullptr, nullptr, nullptr, nullptr); },
           .bMayBeSilent = true});  // no such firmware; a method that fails
    Each("CQORBIOSHandler",
         {{.sName = "Init", .Run = [&] { return Handler.Init(); }},
          {.sName = "GetObjectID",
           .Run = [&] { return Handler.GetObjectID(Pack); },
           .Arrange = [&] { Pack = {}; },
           .sSurvives = "in CWmiHandler::GetPropertyValue$"},  // objects without numbers
          {.sName = "GetValue", .Run = [&] { return Handler.GetValue(0x01010000) != 0.0; }},
          {.sName = "SetValue", .Run = [&] { return Handler.SetValue(0x01010000, 200000.0); }},
          {.sName = "GetInfo", .Run = [&] { return Handler.GetInfo(0x01010000, Info); }, .Arrange = [&] { Info = {}; }},
          {.sName = "GetDValues", .Run = [&] {
               int32_t nCount = 64;
               return Handler.GetDValues(0x01010000, adValues, nCount);
           }}});
    vxt::QOR_BIOS_COMMAND Command{.uCode = 0x00030001, .aucArguments = {}};
    vxt::QOR_BIOS_RESULT Result{};
    vxt::CQORBIOS Bios(Handler);
    vxt::CCMOSItemList Items(Bios);
    vxt::CBIOSMiscInfo Board(Bios);
    Each("CQORBIOS", {{.sName = "Init", .Run = [&] { return Bios.Init(); }},
                      {.sName = "RunCommand", .Run = [&] {
                           Result.uRetCode = 0x99;  // what a failed call returns
                           return Bios.RunCommand(&Command, sizeof(Command), &Result, sizeof(Result)) != 0x99;
                       }}});
    const uint32_t nItem = static_cast<uint32_t>(Items.GetItemValue(0));
    ASSERT_TRUE(Items.Init());
    Each("CCMOSItemList", {{.sName = "GetItemValue", .Run = [&] { return Items.GetItemValue(0) != -1; }},
                           {.sName = "SetItemValue", .Run = [&] { return Items.SetItemValue(0, nItem); }},
                           {.sName = "Init", .Run = [&] { return Items.Init(); }, .Arrange = [&] { Items.UnInit(); }}});
    Each("CBIOSMiscInfo", {{.sName = "Init", .Run = [&] { return Board.Init(); }}});
    Handler.Disconnect();
}

TEST_F(CLibrarySweep, DevicesOfTheBoard) {
    ASSERT_TRUE(InitVXTAPI(true));
    auto& rBridge = Device<vxtapi::CNorthBridge>(vxtapi::kDeviceNorthBridge);
    const double dMultiplier = rBridge.GetHTMultiplier();
    Each("CNBQ7", {{.sName = "GetHTMultiplier", .Run = [&] { return rBridge.GetHTMultiplier() != 0.0; }},
                   {.sName = "GetMaxHTMultiplier", .Run = [&] { return rBridge.GetMaxHTMultiplier() != 0.0; }},
                   {.sName = "SetHTMultiplier", .Run = [&] { return rBridge.SetHTMultiplier(dMultiplier); }}});
    auto& rClocks = Device<vxtapi::CClockGenerator>(vxtapi::kDeviceClockGen);
    auto& rVoltages = Device<vxtapi::CVoltageController>(vxtapi::kDeviceDefaultPwm);
    vxtapi::FirmwareLimits Limits;
    // What only hands a number on leaves the report to the handler.
    Each("CQORBIOSHandler", {{.sName = "GetValue", .Run = [&] { return rClocks.GetPCIeClock() != 0.0; }},
                             {.sName = "SetValue", .Run = [&] { return rClocks.SetExternalClock(200.0); }},
                             {.sName = "GetValue", .Run = [&] { return rVoltages.GetVoltage(0) != 0.0; }},
                             {.sName = "SetValue", .Run = [&] { return rVoltages.SetVoltage(0, 1.5); }}});
    Each("CDefaultClockGen",
         {{.sName = "Init", .Run = [&] { return rClocks.Init(0); }, .sSurvives = "in CWmiHandler::GetPropertyValue$"},
          {.sName = "GetClockLimits",
           .Run = [&] { return rClocks.GetClockLimits(vxtapi::CClockGenerator::kExternalClock, &Limits); }}});
    Each("CDefaultPWMController",
         {{.sName = "Init",
           .Run = [&] { return rVoltages.Init(0); },
           .sSurvives = "::_InitFunctionTable$|in CQORBIOSHandler::GetValue$"}});  // a limit less
    auto* const pProfile = GetProfileSettings()->OpenProfile(L"./profile.xml");
    ASSERT_TRUE(pProfile &&
                pProfile->SetValue(L"HTLink", L"Internal HyperTransport(TM) 3 Link Controller", L"Multiplier", 5.0));
    ASSERT_TRUE(pProfile->SetValue(L"ClockGen", rClocks.GetName(), L"HTRefClock", 210.0) && pProfile->Save());
    const auto Apply = [] { return GetProfileSettings()->ApplySettings(L"./profile.xml"); };
    // What fails is logged and the answer stays; a file that was not read is still there.
    Sweep({.sName = "CProfileSettgins::ApplySettings",
           .Run = [&] { return Apply() && access("profile.xml", F_OK) == 0; },
           .Arrange = Apply,
           .sSurvives = ".*"});
    pProfile->Release();
    Sweep({.sName = "CDefaultBIOS::Init|CWmiHandler::GetInstance",
           .Run = [&] { return Device<vxtapi::CBIOS>(vxtapi::kDeviceBios).Init(0); },
           .sSurvives = "^$",  // not every system shows the area with the date
           .bMayBeSilent = true});
}

/// A device that is made anew before each run, as the device manager makes it, and only then initialised.
template <class TDevice> class CFresh {
public:
    template <class... TArguments>
    explicit CFresh(TArguments&... rArguments) : m_Make([&] { return std::make_unique<TDevice>(rArguments...); }) {}
    void Make() { m_pDevice.reset(), m_pDevice = m_Make(); }
    TDevice* operator->() { return m_pDevice.get(); }

private:
    std::function<std::unique_ptr<TDevice>()> m_Make;
    std::unique_ptr<TDevice> m_pDevice;
};

TEST_F(CLibrarySweep, MemoryModules) {
    ASSERT_TRUE(StartDriver());
    CFresh<vxt::CDefaultMemory> Module(Driver());
    const auto Make = [&] { Module.Make(), Machine().Advance(1'000'000); };  // a started transfer ends
    const auto MakeReady = [&] { Make(), Module->Init(0); };
    vxtapi::MemoryModuleInfo Info;
    vxtapi::MemoryModuleGrade Grade;
    double adClocks[16];
    uint8_t aucSpd[256];
    uint32_t uSize = 0;
    // What a busy bus keeps silent about, the next module's address tells in its place.
    Sweep({.sName = "CDefaultMemory::Init|CDriverHandler::AccessSMBus",
           .Run = [&] { return Module->Init(0); },
           .Arrange = Make,
           .sSurvives = "in CDriverHandler::AccessSMBus$"});
    // A byte that fails once is asked for again.
    const std::pair<const char*, std::function<bool()>> Questions[] = {
        {"GetModuleInfo", [&] { return Module->GetModuleInfo(&Info); }},
        {"_Record", [&] { return *Module->GetModel() != 0; }},
        {"(GetGrade|_Record)", [&] { return Module->GetGrade(0, &Grade); }},
        {"GetCasLatencies", [&] { return Module->GetCasLatencies(adClocks, uSize = 16); }},
        {"ReadSpd", [&] { return Module->ReadSpd(aucSpd, uSize = 256); }}};
    for (const auto& [pszName, Run] : Questions)
        Each("CDefaultMemory",
             {{.sName = pszName, .Run = Run, .Arrange = MakeReady, .sSurvives = "in CDriverHandler::AccessSMBus$"}});
}

TEST_F(CLibrarySweep, GraphicsProcessors) {
    Start(kDefaultMachine, [](vxtsim::CMachineDescription& rMachine) {
        vxtsim::CDisplayAdapter& rAdapter = rMachine.Displays[0];
        rAdapter.bAnswers = true;
        rAdapter.uClock = 500'000, rAdapter.uLowest = 300'000, rAdapter.uHighest = 700'000;
    });
    CFresh<vxt::CNYXGPU> Gpu;
    Sweep({.sName = "CNYXGPU::_Identify",
           .Run = [&] { return Gpu->Init(0); },
           .Arrange = [&] { Gpu.Make(); },
           .bMayBeSilent = true});  // a display that is not there, or whose driver does not know the escape
    const auto MakeReady = [&] { Gpu.Make(), Gpu->Init(0); };
    Each("CNYXGPU",
         {{.sName = "GetEngineClock", .Run = [&] { return Gpu->GetEngineClock() != 0; }, .Arrange = MakeReady},
          {.sName = "SetEngineClock", .Run = [&] { return Gpu->SetEngineClock(600); }, .Arrange = MakeReady}});
    Gpu.Make();
}

TEST_F(CLibrarySweep, DevicesOfTheSystem) {
    ASSERT_TRUE(vxt::g_InitEngine());
    vxt::CWmiHandler& rWmi = vxt::g_GetSystemWmi();
    CFresh<vxt::CDefaultHardDisk> Disk(rWmi);
    CFresh<vxt::CDefaultCDRom> Optical(rWmi);
    // Whatever a drive or the system does not tell is left out.
    Sweep({.sName = "CWmiHandler::GetInstance",
           .Run = [&] { return Disk->Init(0); },
           .Arrange = [&] { Disk.Make(); },
           .sSurvives = "^$",
           .bMayBeSilent = true});
    Sweep({.sName = "CWmiHandler::GetInstance",
           .Run = [&] { return Optical->Init(0); },
           .Arrange = [&] { Optical.Make(); },
           .sSurvives = "^$",
           .bMayBeSilent = true});
    CFresh<vxt::CDefaultBoard> Board(rWmi);
    Sweep({.sName = "CWmiHandler::GetInstance",
           .Run = [&] { return *Board->GetProduct() != 0; },
           .Arrange = [&] { Board.Make(); },
           .sSurvives = "^$",
           .bMayBeSilent = true});
    CFresh<vxt::CDefaultKeyboard> Keyboard;
    Sweep({.sName = "CDefaultKeyboard::Init|g_ReadTreeDevice",
           .Run = [&] { return Keyboard->Init(0); },
           .Arrange = [&] { Keyboard.Make(); },
           .sSurvives = "^$"});
    CFresh<vxt::CDefaultMonitor> Monitor;
    Sweep({.sName = "CDefaultMonitor::Init|g_ReadTreeDevice",
           .Run = [&] { return Monitor->Init(0); },
           .Arrange = [&] { Monitor.Make(); },
           .sSurvives = "^$"});

    const std::chrono::milliseconds Never = std::chrono::hours(1);  // the thread's calls would be counted as well
    CFresh<vxt::CUSBController> Usb(Never);
    vxtapi::AttachedDevice Device;
    Sweep({.sName = "CUSBController::Init|g_ReadTreeDevice",
           .Run = [&] { return Usb->Init(0); },
           .Arrange = [&] { Usb.Make(); },
           .sSurvives = "^$",
           .bMayBeSilent = true});  // without its class code it is none
    const auto MakeReady = [&] { Usb.Make(), Usb->Init(0); };
    Each("CUSBController", {{.sName = "RefreshDevices",
                             .Run = [&] { return Usb->RefreshDevices(); },
                             .Arrange = MakeReady,
                             .sSurvives = "^$"},
                            {.sName = "GetAttachedCount",
                             .Run = [&] { return Usb->GetAttachedCount() != 0; },
                             .Arrange = MakeReady,
                             .sSurvives = "^$|in CUSBController::GetAttachedCount$",
                             .bMayBeSilent = true},
                            {.sName = "GetAttached",
                             .Run = [&] { return Usb->GetAttached(0, &Device); },
                             .Arrange = MakeReady,
                             .sSurvives = "^$|in CUSBController::GetAttached$",
                             .bMayBeSilent = true}});
}

/// The monitors' chips: what each class can do.
class CSensorSweep : public CLibrarySweep {
protected:
    void Bridge(const std::string& sClass, bool bNewer) {
        auto& rBridge = Device<vxtapi::CSouthBridge>(vxtapi::kDeviceSouthBridge);
        constexpr double kNone = vxtapi::CSouthBridge::kNoReading;
        Each(sClass,
             {{.sName = "Init", .Run = [&] { return rBridge.Init(0); }},
              {.sName = "GetCurrentFanSpeed", .Run = [&] { return rBridge.GetCurrentFanSpeed(0) != kNone; }},
              {.sName = "GetCurrentTemperature", .Run = [&] { return rBridge.GetCurrentTemperature(0) != kNone; }},
              {.sName = "GetCurrentVoltage", .Run = [&] { return rBridge.GetCurrentVoltage(0) != kNone; }}});
        // The sequence is the class's that both share.
        Each("CMonitoringSouthBridge|" + sClass,
             {{.sName = "PreparePowerManagement", .Run = [&] { return rBridge.PreparePowerManagement(); }}});
        if (!bNewer) return;
        uint32_t uPercent = 0, uState = 0;
        ASSERT_TRUE(rBridge.SaveFanControl(0, &uState));
        Each(sClass, {{.sName = "GetTemperatureThreshold",
                       .Run = [&] { return rBridge.GetTemperatureThreshold(0, 0) != kNone; }},
                      {.sName = "SetCurrentFanSpeed", .Run = [&] { return rBridge.SetCurrentFanSpeed(0, 50); }},
                      {.sName = "GetCurrentFanSpeedPercentage",
                       .Run = [&] { return rBridge.GetCurrentFanSpeedPercentage(0, &uPercent); }},
                      {.sName = "SaveFanControl", .Run = [&] { return rBridge.SaveFanControl(0, &uState); }},
                      {.sName = "RestoreFanControl", .Run = [&] { return rBridge.RestoreFanControl(0, uState); }},
                      {.sName = "EnableWatchDogTimer", .Run = [&] { return rBridge.EnableWatchDogTimer(true); }},
                      {.sName = "TriggerWatchDogTimer", .Run = [&] { return rBridge.TriggerWatchDogTimer(false); }},
                      {.sName = "GetCTBState", .Run = [&] { return rBridge.GetCTBState(); }},
                      {.sName = "SetCTBState", .Run = [&] { return rBridge.SetCTBState(true); }}});
    }
    void SuperIo(const std::string& sClass, const std::string& sFind) {
        auto& rChip = Device<vxtapi::CEnvironmentController>(vxtapi::kDeviceEnvironment);
        constexpr uint32_t kNone = vxtapi::CEnvironmentController::kNoReading;
        uint32_t uPercent = 0, uState = 0;
        int32_t nCelsius = 0;
        ASSERT_TRUE(rChip.SaveFanControl(0, &uState));
        // Where the first port fails the second is tried; configuration mode is left in any case, as far as that works.
        Sweep({.sName = sClass + "::(Init|" + sFind + ")|CDriverHandler::WritePort",
               .Run = [&] { return rChip.Init(0); },
               .sSurvives = "in CDriverHandler::WritePort$",
               .sStillWrites = " 00[24][EF] "});
        Each(sClass, {{.sName = "SetCurrentFanSpeedPercentage",
                       .Run = [&] { return rChip.SetCurrentFanSpeedPercentage(0, 50); }},
                      {.sName = "GetCurrentFanSpeedPercentage",
                       .Run = [&] { return rChip.GetCurrentFanSpeedPercentage(0, &uPercent); },
                       .Arrange = [&] { rChip.SetCurrentFanSpeedPercentage(0, 50); }},
                      {.sName = "SaveFanControl", .Run = [&] { return rChip.SaveFanControl(0, &uState); }},
                      {.sName = "RestoreFanControl", .Run = [&] { return rChip.RestoreFanControl(0, uState); }}});
        if (sClass == "CF71882")
            Each(sClass,
                 {{.sName = "GetCurrentTemperature", .Run = [&] { return rChip.GetCurrentTemperature(0) != 0xFFFF; }},
                  {.sName = "GetCurrentVoltage", .Run = [&] { return rChip.GetCurrentVoltage(0) != 0.0; }}});
        else
            Each(sClass, {{.sName = "GetCurrentFanSpeed", .Run = [&] { return rChip.GetCurrentFanSpeed(0) != kNone; }},
                          {.sName = "GetTemperatureLimitOfFanStart",
                           .Run = [&] { return rChip.GetTemperatureLimitOfFanStart(0, &nCelsius); }}});
    }
};

TEST_F(CSensorSweep, NewerChips) {
    ASSERT_TRUE(InitVXTAPI(true));
    Bridge("CSQ4", true);
    SuperIo("CF71882", "_Find_F71882");
}

TEST_F(CSensorSweep, OlderChips) {
    Start("family10h-ddr2");
    m_sSecondWay = "^$";
    Restart();
    ASSERT_TRUE(InitVXTAPI(true));
    Bridge("CSQ3", false);
    SuperIo("CIT8716F", "_Find_IT8716F");
}

TEST_F(CLibrarySweep, Profiles) {
    auto& rProfiles = *GetProfileSettings();
    const auto Release = [](vxtapi::CProfile* pProfile) { pProfile->Release(); };
    using CProfilePointer = std::unique_ptr<vxtapi::CProfile, decltype(Release)>;
    const auto Open = [&](const wchar_t* pszPath) { return CProfilePointer(rProfiles.OpenProfile(pszPath)); };
    const CProfilePointer pProfile = Open(L"./profile.xml");
    const auto Set = [&] { return pProfile->SetValue(L"CPU", L"P", L"K", 5.0); };
    ASSERT_TRUE(Set() && pProfile->Save());
    double dValue = 0.0;
    const auto IsGood = [](const CProfilePointer& rpProfile) { return rpProfile && !*rpProfile->GetProblem(); };
    Sweep({.sName = "CConfigParser::(Load|Clear)|CProfileSettgins::OpenProfile",
           .Run = [&] { return IsGood(Open(L"./profile.xml")) && IsGood(Open(L"./none.xml")); }});
    Each(
        "CProfileFile",
        {{.sName = "SetValue", .Run = Set, .Arrange = [&] { pProfile->Clear(); }},
         {.sName = "GetEntryCount", .Run = [&] { return pProfile->GetEntryCount() == 1; }, .Arrange = [&] { Set(); }}});
    Each("CConfigParser",
         {{.sName = "Clear", .Run = [&] { return pProfile->Clear(); }},
          {.sName = "Save", .Run = [&] { return pProfile->Save(); }, .Arrange = [&] { pProfile->Clear(), Set(); }},
          {.sName = "(FindNode|ReadValue)", .Run = [&] { return pProfile->GetValue(L"CPU", L"P", L"K", &dValue); }}});
}

TEST_F(CLibrarySweep, Start) {
    std::ofstream("DeviceList.cfg") << "[off]\nMonitor\nKeyboard\n";
    // Devices, tables and firmware are looked for: a start goes on without them.
    Sweep({.sName = "InitVXTAPI",
           .Run = [] { return InitVXTAPI(true); },
           .Arrange = [&] { Restart(); },
           .sSurvives = ".*",
           .bKeeps = true});  // the host shuts down
}

}  // namespace
