// Start-up, sharing, shut-down and every access of the driver handler.
#include "hw/driver_handler.h"

#include <gmock/gmock.h>

#include <cstring>

#include "firmware/acpi_table.h"
#include "support/simulated_pc.h"

namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;
using vxt::CDriverHandler;
using vxtsim::EFault;
using vxttest::g_CheckError;
using vxttest::g_ProcessError;
using vxttest::Lines;

constexpr const wchar_t* kService = L"VXTDriver";
constexpr const wchar_t *kSemaphore = L"Global\\VXTDriverSemaphore", *kMutex = L"Global\\VXTDriverMutex";
constexpr vxtsim::CPciAddress kChipsetSMBus{0, 20, 0}, kNorthBridgeMisc{0, 24, 3};

/// The trace without driver requests and without the tables' memory reads.
Lines SystemCalls(const Lines& rTrace) {
    Lines Calls;
    for (const std::string& sLine : rTrace)
        if (sLine[0] >= 'A' && sLine[0] <= 'Z') Calls.push_back(sLine);
    return Calls;
}

struct CDriverHandlerTest : vxttest::CSimulatedPc {
    vxt::CACPITable m_Tables{m_Handler};
    CDriverHandler m_Handler;

    ~CDriverHandlerTest() override {
        System().StopFailing();
        m_Handler.UnInit();
    }
    bool Init() { return m_Handler.Init(m_Tables); }
    void Restart(const std::string& sMachine, const std::function<void(vxtsim::CMachineDescription&)>& Change = {}) {
        m_Handler.UnInit();
        Start(sMachine, Change);
    }
    int32_t FreeUnits() { return System().m_Semaphores.at(kSemaphore).nCount; }
};

TEST_F(CDriverHandlerTest, TheFirstUserInstallsTheServiceAndTheLastRemovesIt) {
    ASSERT_TRUE(Init());
    EXPECT_THAT(SystemCalls(TakeTrace()),
                ElementsAre("QueryIsWow64", "OpenMutex", "CreateMutex", "WaitMutex",  //
                            "OpenDriver", "ExecutablePath",                           //
                            "OpenServiceManager", "OpenService",                      // stop: nothing there
                            "OpenServiceManager", "OpenService",                      // remove: nothing there
                            "OpenServiceManager", "CreateDriverService",              //
                            "OpenServiceManager", "OpenService", "StopService",       // not running
                            "OpenServiceManager", "OpenService", "StartService",      //
                            "OpenDriver", "OpenSemaphore", "CreateSemaphore", "WaitSemaphore"));
    EXPECT_EQ(System().m_Services.at(kService).sPath, L"C:\\Program Files\\Host\\qor64\\VXTDriver.sys");
    for (const std::wstring& sSddl : {System().m_Semaphores.at(kSemaphore).sSddl, System().m_Mutexes.at(kMutex).sSddl})
        EXPECT_EQ(sSddl, L"D:(D;OICI;GA;;;BG)(D;OICI;GA;;;AN)(A;OICI;GRGWGX;;;AU)(A;OICI;GA;;;BA)");
    EXPECT_EQ(FreeUnits(), 9999);
    const Lines Log = m_Log.Take();
    EXPECT_THAT(Log, Contains("4 Try to install VXT driver"));
    EXPECT_THAT(Log, Contains("2 AddReference: error code returned from OpenSemaphore is: 2"));
    EXPECT_THAT(Log, Contains("4 Found PCI MMIO base address E0000000"));

    EXPECT_TRUE(m_Handler.UnInit());
    EXPECT_THAT(System().m_Services, IsEmpty());
    EXPECT_EQ(FreeUnits(), 10000);
    EXPECT_THAT(System().m_Handles, IsEmpty());
    EXPECT_THAT(m_Log.Take(), ElementsAre("4 VXTDriver service has been removed.(1)"));
}

TEST_F(CDriverHandlerTest, ASecondUserSharesTheRunningDriver) {
    CDriverHandler First;
    ASSERT_TRUE(First.Init(m_Tables));
    m_Tables.Clear();
    TakeTrace();
    ASSERT_TRUE(Init());
    EXPECT_THAT(SystemCalls(TakeTrace()),
                ElementsAre("QueryIsWow64", "OpenMutex", "WaitMutex", "OpenDriver", "OpenSemaphore", "WaitSemaphore"));
    EXPECT_EQ(FreeUnits(), 9998);
    First.UnInit();
    EXPECT_TRUE(System().m_Services.contains(kService));
    uint32_t uLow = 0, uHigh = 0;
    EXPECT_TRUE(m_Handler.RDMSR(0xC0010071, uLow, uHigh)) << "the other user still works";
    m_Handler.UnInit();
    EXPECT_THAT(System().m_Services, IsEmpty());
}

TEST_F(CDriverHandlerTest, UsersInOtherProcessesKeepTheServiceAndTheLastUnitIsRespected) {
    ASSERT_TRUE(Init());
    System().OtherProcessAttaches(kSemaphore, 10000);
    m_Handler.UnInit();
    EXPECT_EQ(System().m_Services.at(kService).uState, vxt::platform::kServiceRunning);
    for (int i = 0; i < 9999; ++i) System().OtherProcessAttaches(kSemaphore, 10000);
    m_Log.Take();
    EXPECT_FALSE(Init()) << "no unit is left";
    EXPECT_THAT(m_Log.TakeErrors(),
                ElementsAre(g_ProcessError("dwWaitResult == WAIT_OBJECT_0", "CDriverHandler::AddReference"),
                            g_ProcessError("bRetCode", "CDriverHandler::Init"),
                            g_ProcessError("m_hSemaphore != NULL", "CDriverHandler::ReleaseReference")));
    EXPECT_EQ(FreeUnits(), 0) << "a unit that was not taken is not given back";
}

TEST_F(CDriverHandlerTest, AFailedStartLeavesAChainOfLinesAndNoHandle) {
    const struct {
        const char* pszCase;
        std::function<void(CDriverHandlerTest&)> Arrange;
        Lines Errors;
    } kCases[] = {
        {"another kind of system",
         [](auto& t) { t.System().m_uPlatformId = 1; },
         {g_ProcessError("platform::PlatformId() == platform::kPlatformNt", "CDriverHandler::Init")}},
        {"word size unknown",
         [](auto& t) { t.System().m_bWow64QueryWorks = false; },
         {g_ProcessError("bRetCode", "CDriverHandler::Init")}},
        {"no rights",
         [](auto& t) { t.System().m_bHasRights = false; },
         {g_ProcessError("hSCManager", "CDriverHandler::InstallDriver"),
          g_ProcessError("hSCManager", "CDriverHandler::StartDriver"),
          g_ProcessError("m_hDriver != INVALID_HANDLE_VALUE", "CDriverHandler::Init")}},
        {"no driver file",
         [](auto& t) { t.System().m_bDriverFileExists = false; },
         {g_ProcessError("m_hDriver != INVALID_HANDLE_VALUE", "CDriverHandler::Init")}},
        {"host path without a folder",
         [](auto& t) { t.System().m_sExecutable = L"host.exe"; },
         {g_ProcessError("pszSlash", "CDriverHandler::GetDriverPath"),
          g_ProcessError("hService", "CDriverHandler::StartDriver"),
          g_ProcessError("m_hDriver != INVALID_HANDLE_VALUE", "CDriverHandler::Init")}},
        {"host path too long",
         [](auto& t) { t.System().m_sExecutable = L"C:\\" + std::wstring(240, L'x') + L"\\h.exe"; },
         {g_ProcessError("sPath.size() < kMaxPath", "CDriverHandler::GetDriverPath"),
          g_ProcessError("hService", "CDriverHandler::StartDriver"),
          g_ProcessError("m_hDriver != INVALID_HANDLE_VALUE", "CDriverHandler::Init")}},
    };
    for (const auto& rCase : kCases) {
        SCOPED_TRACE(rCase.pszCase);
        Restart(kDefaultMachine);
        rCase.Arrange(*this);
        EXPECT_FALSE(Init());
        Lines Expected = rCase.Errors;
        Expected.push_back(g_ProcessError("m_hSemaphore != NULL", "CDriverHandler::ReleaseReference"));
        EXPECT_THAT(m_Log.TakeErrors(), ElementsAreArray(Expected));
        EXPECT_THAT(System().m_Handles, IsEmpty());
    }
}

TEST_F(CDriverHandlerTest, ADriverFileIsChosenByTheSystemsWordSize) {
    System().m_bIsWow64 = false;
    ASSERT_TRUE(Init());
    EXPECT_EQ(System().m_Services.at(kService).sPath, L"C:\\Program Files\\Host\\i386\\VXTDriver.sys");
    EXPECT_FALSE(m_Handler.GetDriverPath(nullptr));
}

TEST_F(CDriverHandlerTest, ErrorCodesOfTheServiceAreLoggedAsDiagnostics) {
    System().m_bDriverFileExists = false;
    EXPECT_FALSE(Init());
    EXPECT_THAT(m_Log.Take(), Contains("2 StartDriver: error code returned from StartService is: 2"));
    // A removal that has not ended blocks the next installation.
    System().m_Services[kService] = {.sPath = L"x", .bDeleted = true, .uHandles = 1};
    EXPECT_FALSE(m_Handler.InstallDriver(L"y"));
    EXPECT_THAT(m_Log.Take(), ElementsAre("1 " + g_ProcessError("bRetCode", "CDriverHandler::RemoveDriver"),
                                          "2 InstallDriver: error code returned from CreateService is: 1072",
                                          "1 " + g_ProcessError("hService", "CDriverHandler::InstallDriver")));
}

TEST_F(CDriverHandlerTest, RemovalIsPolledForAWhile) {
    for (const uint32_t uOpeners : {0u, 99u, 100u}) {
        Restart(kDefaultMachine);
        ASSERT_TRUE(m_Handler.InstallDriver(L"x") && m_Handler.StartDriver());
        System().m_uOpenersToGo = uOpeners;
        const uint64_t ullBefore = Machine().Now();
        EXPECT_EQ(m_Handler.RemoveDriver(), uOpeners < 100);
        EXPECT_EQ(Machine().Now() - ullBefore, uOpeners * 10'000'000ull) << "10 ms apart";
        const Lines Log = m_Log.Take();
        if (uOpeners < 100) {
            EXPECT_THAT(Log,
                        ElementsAre("4 VXTDriver service has been removed.(" + std::to_string(uOpeners + 1) + ")"));
        } else {
            EXPECT_THAT(Log, IsEmpty());
        }
        System().m_uOpenersToGo = 0;
    }
    System().m_Services.clear();
    EXPECT_FALSE(m_Handler.RemoveDriver()) << "nothing to remove";
}

TEST_F(CDriverHandlerTest, LeftOverMappingsAndAllocationsAreReportedAndGivenBackWithTheUnmapRequest) {
    ASSERT_TRUE(Init());
    ASSERT_NE(m_Handler.MapPhysicalMemory(0xFEE00300, 0, 256), 0u);
    ASSERT_NE(m_Handler.AllocatePhysicalMemory(1, 2, 3, 4, 5), 0u);
    TakeTrace();
    m_Log.Take();
    m_Handler.UnInit();
    const Lines Trace = TakeTrace();
    EXPECT_THAT(Lines(Trace.begin(), Trace.begin() + 2), ElementsAre("unmap 20", "unmap 30"));
    EXPECT_THAT(m_Log.TakeErrors(),
                ElementsAre(g_CheckError("m_MapAddrList.size() == 0", "CDriverHandler::UnInit"),
                            g_CheckError("m_AllocateAddrList.size() == 0", "CDriverHandler::UnInit")));
    EXPECT_EQ(Machine().MappingCount(), 0u);
}

// ---- ECAM, SMBus base, PCI list -----------------------------------------------------------------------------------------

void SetMcfg(vxtsim::CMachineDescription& rMachine, const std::function<void(std::vector<uint8_t>&)>& Change) {
    for (auto& [sSignature, Table] : rMachine.Acpi)
        if (sSignature == "MCFG") {
            Change(Table);
            const uint32_t uSize = static_cast<uint32_t>(Table.size());
            std::memcpy(&Table[4], &uSize, 4);
            Table[9] = 0;
            uint8_t ucSum = 0;
            for (const uint8_t ucByte : Table) ucSum = static_cast<uint8_t>(ucSum + ucByte);
            Table[9] = static_cast<uint8_t>(-ucSum);
        }
}

TEST_F(CDriverHandlerTest, TheEcamBaseIsBelievedOnlyWhenItAnswers) {
    const struct {
        const char* pszCase;
        std::function<void(std::vector<uint8_t>&)> Change;
        bool bStarts;
        uint64_t ullBase;
        const char* pszError;
    } kCases[] = {
        {"as dumped", [](auto&) {}, true, 0xE0000000, nullptr},
        {"44 bytes", [](auto& rTable) { rTable.resize(44); }, false, 0, "uSize > sizeof(MCFG)"},
        {"45 bytes: the rest of the base counts as zero", [](auto& rTable) { rTable.resize(45), rTable[44] = 0x10; },
         true, 0, nullptr},
        {"zero base", [](auto& rTable) { std::memset(&rTable[44], 0, 8); }, false, 0, "m_ullPCIBaseAddress"},
        {"nobody answers there", [](auto& rTable) { rTable[47] = 0xA0; }, true, 0, nullptr},
    };
    for (const auto& rCase : kCases) {
        SCOPED_TRACE(rCase.pszCase);
        Restart(kDefaultMachine, [&](auto& rMachine) {
            SetMcfg(rMachine, rCase.Change);
            if (rCase.pszCase == std::string_view("nobody answers there")) rMachine.Pci.erase({0, 24, 0});
        });
        m_Tables.Clear();
        EXPECT_EQ(Init(), rCase.bStarts);
        EXPECT_EQ(m_Handler.GetPciBaseAddress(), rCase.bStarts ? rCase.ullBase : m_Handler.GetPciBaseAddress());
        const Lines Errors = m_Log.TakeErrors();
        if (rCase.pszError) { EXPECT_THAT(Errors, Contains(g_ProcessError(rCase.pszError, "CDriverHandler::Init"))); }
        m_Handler.UnInit();
        m_Log.Take();
    }
}

TEST_F(CDriverHandlerTest, AFailedProbeDropsTheEcamBaseAndPciGoesThroughRequests) {
    // The probe is the first read inside the window: count the requests of a good start up to it.
    ASSERT_TRUE(Init());
    const Lines Trace = TakeTrace();
    uint64_t ullBefore = 0;
    for (const std::string& sLine : Trace) {
        if (sLine == "memrd E00C0000 4") break;
        if (sLine[0] >= 'a' && sLine[0] <= 'z') ++ullBefore;
    }
    m_Handler.UnInit();
    m_Tables.Clear();
    System().m_RequestFaults = vxtsim::CFaultPlan::After(ullBefore, EFault::kFail);
    ASSERT_TRUE(Init());
    EXPECT_EQ(m_Handler.GetPciBaseAddress(), 0u);
    EXPECT_THAT(TakeTrace(), Contains("pcird 0:14.0 0 4"));
    EXPECT_NE(m_Handler.FindPciFunction(0x1022, 0x1203), nullptr);
}

TEST_F(CDriverHandlerTest, ASecondStartFindsTheOldTablesAndGoesOnWithoutEcam) {
    ASSERT_TRUE(Init());
    m_Handler.UnInit();
    ASSERT_TRUE(Init()) << "kept: the table reader refuses a second start";
    EXPECT_EQ(m_Handler.GetPciBaseAddress(), 0u);
    EXPECT_NE(m_Handler.FindPciFunction(0x1022, 0x1203), nullptr);
}

TEST_F(CDriverHandlerTest, TheSMBusBaseComesFromTheChipsetOrFromThePciList) {
    constexpr vxtsim::CPciAddress kFirst{0, 10, 1}, kSecond{0, 11, 0};
    const auto Controller = [](uint16_t usDevice, std::initializer_list<uint32_t> Bars) {
        std::vector<uint8_t> Space(256);
        const uint32_t uIdentity = 0x10DEu | uint32_t{usDevice} << 16, uClass = 0x0C050000;
        std::memcpy(&Space[0], &uIdentity, 4);
        std::memcpy(&Space[8], &uClass, 4);
        size_t uOffset = 0x10;
        for (const uint32_t uBar : Bars) std::memcpy(&Space[uOffset], &uBar, 4), uOffset += 4;
        return Space;
    };
    const struct {
        const char* pszCase;
        std::function<void(vxtsim::CMachineDescription&)> Change;
        uint16_t usBase;
    } kCases[] = {
        {"the last I/O register wins",
         [&](auto& r) {
             r.Pci[kFirst] = Controller(0x264, {0xFEB00000, 0x1C01, 0x2D43, 0xFEC00000});
         },
         0x2D40},
        {"a base of zero supplies nothing",
         [&](auto& r) {
             r.Pci[kFirst] = Controller(0x264, {0x0001}), r.Pci[kSecond] = Controller(0x368, {0x5001, 0x0001});
         },
         0x5000},
        {"key order decides",
         [&](auto& r) { r.Pci[kFirst] = Controller(0x368, {0x5001}), r.Pci[kSecond] = Controller(0x264, {0x6001}); },
         0x6000},
        {"memory registers supply nothing", [&](auto& r) { r.Pci[kFirst] = Controller(0x264, {0xFEB00000}); }, 0},
    };
    for (const auto& rCase : kCases) {
        SCOPED_TRACE(rCase.pszCase);
        Restart(kDefaultMachine, [&](auto& rMachine) {
            std::erase_if(rMachine.Pci,
                          [](const auto& rEntry) { return rEntry.second[0x0B] == 0x0C && rEntry.second[0x0A] == 5; });
            rCase.Change(rMachine);
        });
        m_Tables.Clear();
        ASSERT_TRUE(Init());
        EXPECT_EQ(m_Handler.GetSMBusBase(), rCase.usBase);
        m_Handler.UnInit();
    }
    Restart(kDefaultMachine, [](auto& rMachine) { rMachine.Pci[kChipsetSMBus][0x90] &= 0xFE; });
    m_Tables.Clear();
    EXPECT_FALSE(Init()) << "the chipset's controller is switched off";
    EXPECT_THAT(m_Log.TakeErrors(), Contains(g_ProcessError("ulData & 0x01", "CDriverHandler::Init")));
}

TEST_F(CDriverHandlerTest, ThePciListIsTheSameOnEveryRoadAndGivesTheFirstFunctionFiled) {
    constexpr vxtsim::CPciAddress kTwin{3, 0, 0};
    const auto WithTwin = [&](auto& rMachine) { rMachine.Pci[kTwin] = rMachine.Pci.at(kNorthBridgeMisc); };
    std::vector<std::string> Lists[2];
    for (const bool bEcam : {true, false}) {
        Restart(kDefaultMachine, [&](auto& rMachine) {
            WithTwin(rMachine);
            if (!bEcam) std::erase_if(rMachine.Acpi, [](const auto& rTable) { return rTable.first == "MCFG"; });
        });
        m_Tables.Clear();
        ASSERT_TRUE(Init());
        EXPECT_EQ(m_Handler.GetPciBaseAddress() != 0, bEcam);
        for (const auto& [uKey, Record] : m_Handler.GetPciFunctions())
            Lists[bEcam].push_back(std::string(reinterpret_cast<const char*>(&Record), sizeof(Record)));
        EXPECT_EQ(m_Handler.FindPciFunction(0x1022, 0x1203)->uBus, 0u);
        EXPECT_EQ(m_Handler.FindPciFunction(0x1234, 0x5678), nullptr);
        m_Handler.UnInit();
    }
    EXPECT_GT(Lists[0].size(), 6u);
    EXPECT_EQ(Lists[0], Lists[1]);
}

TEST_F(CDriverHandlerTest, ARejectedScanEndsEarlyAndStillSucceeds) {
    Restart("family10h-ddr2");
    ASSERT_TRUE(Init());
    const size_t uAll = m_Handler.GetPciFunctions().size();
    const auto Scan = [&](uint64_t ullGood, EFault eFault) {
        System().m_RequestFaults = vxtsim::CFaultPlan::After(ullGood, eFault, true);
        EXPECT_TRUE(m_Handler.InitPCIHeader());
        System().m_RequestFaults = {};
        return m_Handler.GetPciFunctions().size();
    };
    EXPECT_EQ(Scan(0, EFault::kFail), 0u);
    EXPECT_EQ(Scan(0, EFault::kZeroLength), 0u);
    EXPECT_LT(Scan(20 * 8 + 4, EFault::kFail), uAll);
    EXPECT_EQ(Scan(1'000'000, EFault::kFail), uAll);
}

TEST_F(CDriverHandlerTest, AnEnumerationThatDoesNotAdvanceOrOverflowsIsRefused) {
    ASSERT_TRUE(Init());
    for (const EFault eFault : {EFault::kFail, EFault::kWrongCount, EFault::kZeroLength}) {
        System().m_RequestFaults = vxtsim::CFaultPlan::After(0, eFault);
        EXPECT_FALSE(m_Handler.InitPCIHeader());
    }
}

// ---- single accesses ----------------------------------------------------------------------------------------------------

TEST_F(CDriverHandlerTest, PortsAreReadAndWrittenInEveryWidth) {
    Restart(kDefaultMachine, [](auto& rMachine) {
        rMachine.Ports = {{0x500, 0x78}, {0x501, 0x56}, {0x502, 0x34}, {0x503, 0x12}};
    });
    ASSERT_TRUE(Init());
    TakeTrace();
    uint8_t ucValue = 0;
    uint16_t usValue = 0;
    uint32_t uValue = 0;
    EXPECT_TRUE(m_Handler.ReadPort(0x500, ucValue) && m_Handler.ReadPort(0x500, usValue) &&
                m_Handler.ReadPort(0x500, uValue));
    EXPECT_EQ(ucValue, 0x78);
    EXPECT_EQ(usValue, 0x5678);
    EXPECT_EQ(uValue, 0x12345678u);
    EXPECT_TRUE(m_Handler.WritePort(0x500, uint8_t{0xA1}) && m_Handler.WritePort(0x501, uint16_t{0xB2C3}) &&
                m_Handler.ReadPort(0x500, uValue));
    EXPECT_EQ(uValue, 0x12B2C3A1u);
    EXPECT_TRUE(m_Handler.WritePort(0x500, uint32_t{0x01020304}));
    EXPECT_THAT(TakeTrace(), ElementsAre("in 1 0500", "in 2 0500", "in 4 0500", "out 1 0500 A1", "out 2 0501 B2C3",
                                         "in 4 0500", "out 4 0500 01020304"));
}

TEST_F(CDriverHandlerTest, EveryAccessThatReadsChecksTheCallAndTheCountReturned) {
    ASSERT_TRUE(Init());
    uint32_t uLow = 0, uHigh = 0, uData = 0;
    uint16_t usValue = 0;
    const struct {
        std::function<bool()> Access;
        const char *pszFunction, *pszCountCheck;
        bool bZeroIsSilent;
    } kCases[] = {
        {[&] { return m_Handler.ReadPort(0x80, usValue); }, "ReadPort", "dwBytesReturned == sizeof(Param)", false},
        {[&] { return m_Handler.RDMSR(0xC0010071, uLow, uHigh); }, "RDMSR", "dwBytesReturned == sizeof(Param)", false},
        {[&] { return m_Handler.ReadMemory(0xE0000, 4, &uData); }, "ReadMemory",
         "dwBytesReturned == sizeof(MemoryParam) + uSize", true},
        {[&] { return m_Handler.MapPhysicalMemory(0xFEE00300, 0, 256) != 0; }, "MapPhysicalMemory",
         "dwBytesReturned == sizeof(MapMemoryParam)", false},
        {[&] { return m_Handler.AllocatePhysicalMemory(1, 2, 3, 4, 5) != 0; }, "AllocatePhysicalMemory",
         "dwBytesReturned == sizeof(AllocateMemoryParam)", false},
    };
    for (const auto& [Access, pszFunction, pszCountCheck, bZeroIsSilent] : kCases) {
        SCOPED_TRACE(pszFunction);
        const std::string sFunction = std::string("CDriverHandler::") + pszFunction;
        const Lines WrongCount = {g_ProcessError(pszCountCheck, sFunction)};
        const auto With = [&](EFault eFault) {
            m_Log.Take();
            System().m_RequestFaults = vxtsim::CFaultPlan::After(0, eFault);
            EXPECT_FALSE(Access());
            System().m_RequestFaults = {};
            return m_Log.TakeErrors();
        };
        EXPECT_THAT(With(EFault::kFail), ElementsAre(g_ProcessError("bRetCode", sFunction)));
        EXPECT_EQ(With(EFault::kWrongCount), WrongCount);
        EXPECT_EQ(With(EFault::kZeroLength), bZeroIsSilent ? Lines{} : WrongCount);
    }
    EXPECT_FALSE(m_Handler.ReadMemory(0xE0000, 4, nullptr));
    EXPECT_FALSE(m_Handler.WriteMemory(0xE0000, 4, nullptr));
    EXPECT_FALSE(m_Handler.GetPCIConfig(0, 24, 3, 0, nullptr, 4));
    EXPECT_FALSE(m_Handler.SetPCIConfig(0, 24, 3, 0, nullptr, 4));
    EXPECT_FALSE(m_Handler.ReadMemory(0xE0000, 0xFFFFFFFF, &uData)) << "no block can be that long";
}

TEST_F(CDriverHandlerTest, PciConfigurationFallsFromEcamToTheNewerAndTheOlderRequest) {
    ASSERT_TRUE(Init());
    TakeTrace();
    uint32_t uIdentity = 0;
    ASSERT_TRUE(m_Handler.GetPCIConfig(0, 24, 3, 0, &uIdentity, 4));
    EXPECT_EQ(uIdentity, 0x12031022u);
    EXPECT_THAT(TakeTrace(), ElementsAre("memrd E00C3000 4"));

    System().m_RequestFaults = vxtsim::CFaultPlan::After(0, EFault::kFail);
    EXPECT_TRUE(m_Handler.GetPCIConfig(0, 24, 3, 0, &uIdentity, 4));
    EXPECT_EQ(TakeTrace().back(), "pcird 0:18.3 0 4");

    System().m_Server.m_bKnowsNewPciRequests = false;
    Restart("family10h-ddr2");
    System().m_Server.m_bKnowsNewPciRequests = false;
    m_Tables.Clear();
    ASSERT_TRUE(Init());
    EXPECT_TRUE(m_Handler.GetPCIConfig(0, 24, 3, 0, &uIdentity, 4));
    EXPECT_EQ(uIdentity, 0x12031022u);
    uint32_t uBoth[2] = {0, 0x11223344};
    EXPECT_TRUE(m_Handler.GetPCIConfig(0, 24, 2, 0x88, uBoth, 8));
    uBoth[1] ^= 0x10;
    EXPECT_TRUE(m_Handler.SetPCIConfig(0, 24, 2, 0x88, uBoth, 8));
    EXPECT_EQ(Machine().PciDword({0, 24, 2}, 0x8C), uBoth[1]);

    System().m_RequestFaults = vxtsim::CFaultPlan::After(0, EFault::kFail, true);
    m_Log.Take();
    EXPECT_FALSE(m_Handler.GetPCIConfig(0, 24, 3, 0, &uIdentity, 4));
    EXPECT_FALSE(m_Handler.SetPCIConfig(0, 24, 3, 0, &uIdentity, 4));
    EXPECT_THAT(m_Log.TakeErrors(), ElementsAre(g_ProcessError("bRetCode", "CDriverHandler::GetPCIConfig"),
                                                g_ProcessError("bRetCode", "CDriverHandler::SetPCIConfig")));
}

TEST_F(CDriverHandlerTest, MappingsAreFiledByTheLowHalfAndGivenBackOnce) {
    ASSERT_TRUE(Init());
    TakeTrace();
    const uint32_t uAddress = m_Handler.MapPhysicalMemory(0xFEE00300, 0, 256);
    ASSERT_NE(uAddress, 0u);
    EXPECT_EQ(static_cast<uint32_t>(m_Handler.GetMappedAddress(uAddress)), uAddress);
    EXPECT_EQ(m_Handler.GetMappedAddress(uAddress + 1), 0u);
    EXPECT_TRUE(m_Handler.UnmapPhysicalMemory(uAddress));
    m_Log.Take();
    EXPECT_FALSE(m_Handler.UnmapPhysicalMemory(uAddress));
    EXPECT_FALSE(m_Handler.FreePhysicalMemory(0x12345));
    EXPECT_THAT(m_Log.TakeErrors(),
                ElementsAre(g_ProcessError("it != m_MapAddrList.end()", "CDriverHandler::UnmapPhysicalMemory"),
                            g_ProcessError("it != m_AllocateAddrList.end()", "CDriverHandler::FreePhysicalMemory")));
    EXPECT_THAT(TakeTrace(), ElementsAre("map FEE00300 100", "unmap 20"));

    // A mapping whose answer cannot be used goes back at once, with the short block.
    System().m_RequestFaults = vxtsim::CFaultPlan::After(0, EFault::kWrongCount);
    EXPECT_EQ(m_Handler.MapPhysicalMemory(0xFEE00300, 0, 256), 0u);
    EXPECT_THAT(TakeTrace(), ElementsAre("map FEE00300 100", "unmap C"));
    System().m_RequestFaults = vxtsim::CFaultPlan::After(0, EFault::kWrongCount);
    EXPECT_EQ(m_Handler.AllocatePhysicalMemory(1, 2, 3, 4, 5), 0u);
    EXPECT_THAT(TakeTrace(), ElementsAre("alloc", "free"));
    const uint32_t uAllocated = m_Handler.AllocatePhysicalMemory(1, 2, 3, 4, 5);
    EXPECT_TRUE(m_Handler.FreePhysicalMemory(uAllocated));
}

}  // namespace
