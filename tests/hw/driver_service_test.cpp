// The driver's service when it is not simply there or not there: other processes at work on it, a manager that takes its
// time, rights that are missing.
#include <gmock/gmock.h>

#include "firmware/acpi_table.h"
#include "hw/driver_handler.h"
#include "support/simulated_pc.h"

namespace {

using ::testing::Contains;
using ::testing::IsEmpty;
using ::testing::Not;
using namespace vxt::platform;
using vxt::CDriverHandler;

constexpr const wchar_t *kService = L"VXTDriver", *kSemaphore = L"Global\\VXTDriverSemaphore",
                        *kMutex = L"Global\\VXTDriverMutex";
constexpr uint64_t kMillisecond = 1'000'000;

struct CDriverServiceTest : vxttest::CSimulatedPc {
    vxt::CACPITable m_Tables{m_Handler};
    CDriverHandler m_Handler;

    ~CDriverServiceTest() override { m_Handler.UnInit(); }
    bool Init() { return m_Handler.Init(m_Tables); }
    /// Switches the PC on anew. Tables that are copied again do not look like a second start.
    void Restart() {
        m_Handler.UnInit();
        m_Tables.Clear();
        Start(kDefaultMachine);
    }
    /// Milliseconds of virtual time that something takes.
    template <class TOperation> double Time(TOperation Operation) {
        const uint64_t ullBefore = Machine().Now();
        Operation();
        return static_cast<double>((Machine().Now() - ullBefore) / kMillisecond);
    }
    uint32_t State() { return System().m_Services.at(kService).uState; }
};

TEST_F(CDriverServiceTest, AStartWithoutAShutDownBeforeTakesNoSecondUnit) {
    ASSERT_TRUE(Init());
    ASSERT_TRUE(Init());
    EXPECT_EQ(System().m_Semaphores.at(kSemaphore).nCount, 9999);
    m_Handler.UnInit();
    EXPECT_THAT(System().m_Services, IsEmpty());
    EXPECT_EQ(System().m_Semaphores.at(kSemaphore).nCount, 10000);
}

TEST_F(CDriverServiceTest, AStartAndAShutDownWaitForTheirTurnAndGoOnWithoutIt) {
    const struct {
        const char* pszCase;
        uint32_t uHeld, uWaits;  ///< ms
    } kCases[] = {
        {"free", 0, 0}, {"another process is at it", 9'990, 9'990}, {"another process hangs", 60'000, 10'000}};
    for (const auto& [pszCase, uHeld, uWaits] : kCases) {
        SCOPED_TRACE(pszCase);
        Restart();
        System().OtherProcessTakesMutex(kMutex, uHeld);
        EXPECT_NEAR(Time([&] { EXPECT_TRUE(Init()); }), uWaits, 5);
        System().OtherProcessTakesMutex(kMutex, uHeld);
        EXPECT_NEAR(Time([&] { m_Handler.UnInit(); }), uWaits, 5);
        EXPECT_THAT(System().m_Services, IsEmpty());
    }
    System().AbandonMutex(kMutex);
    ASSERT_TRUE(Init());
    EXPECT_EQ(System().m_Mutexes.at(kMutex).uTaken, 0u) << "an abandoned one is given back, too";
}

TEST_F(CDriverServiceTest, AServiceThatIsStoppingOrGoingIsWaitedForForFiveSeconds) {
    using CService = vxt::platform::simulated::CSimulatedSystem::CService;
    const struct {
        const char* pszCase;
        CService Service;  ///< as an earlier user left it
        uint32_t uStopMilliseconds, uOpeners, uForeignHandles;
        bool bStarts;
        double dLeast, dMost;  ///< ms that a start takes
    } kCases[] = {
        {"it takes its time to stop", {.sPath = L"old", .uState = kServiceRunning}, 3'000, 0, 0, true, 3'000, 3'100},
        {"it is stopping already",
         {.sPath = L"old", .uState = kServiceStopPending, .ullStopped = 4'000 * kMillisecond},
         0,
         0,
         0,
         true,
         3'900,
         4'100},
        {"somebody else has deleted it", {.sPath = L"old", .bDeleted = true}, 0, 200, 0, true, 1'500, 2'100},
        {"somebody holds a handle of the deleted one",
         {.sPath = L"old", .bDeleted = true, .uHandles = 1},
         0,
         0,
         0,
         false,
         5'000,
         5'100},
        {"somebody has the old driver open",
         {.sPath = L"old", .uState = kServiceRunning},
         0,
         0,
         1,
         false,
         5'000,
         7'100},
    };
    for (const auto& rCase : kCases) {
        SCOPED_TRACE(rCase.pszCase);
        Restart();
        System().m_Services[kService] = rCase.Service;
        System().m_uStopMilliseconds = rCase.uStopMilliseconds;
        System().m_uOpenersToGo = rCase.uOpeners;
        System().m_uOtherDriverHandles = rCase.uForeignHandles;
        if (State() == kServiceRunning) System().FailAfter(4);  // opening its device: else there is nothing to install
        const double dTime = Time([&] { EXPECT_EQ(Init(), rCase.bStarts); });
        System().StopFailing();
        EXPECT_GE(dTime, rCase.dLeast);
        EXPECT_LE(dTime, rCase.dMost);
        if (rCase.bStarts) { EXPECT_NE(System().m_Services.at(kService).sPath, L"old"); }
        System().m_uStopMilliseconds = 0;
        m_Handler.UnInit();
        EXPECT_EQ(System().m_Services.empty(), rCase.bStarts);
        System().m_Services.clear();
    }
}

TEST_F(CDriverServiceTest, AServiceThatStopsIsNoRunningOne) {
    System().m_Services[kService] = {
        .sPath = L"x", .uState = kServiceStopPending, .ullStopped = Machine().Now() + 1'000 * kMillisecond};
    System().FailAfter(0);  // the stop before the start: then the start itself finds it stopping
    EXPECT_TRUE(m_Handler.StartDriver());
    System().StopFailing();
    EXPECT_EQ(State(), kServiceRunning);
}

TEST_F(CDriverServiceTest, NothingIsInstalledWhereTheRunningDriverRefusesThisUser) {
    System().m_Services[kService] = {.sPath = L"theirs", .uState = kServiceRunning};
    System().m_bHasRights = false;
    EXPECT_FALSE(Init());
    EXPECT_THAT(TakeTrace(), Not(Contains("OpenServiceManager")));
    EXPECT_THAT(m_Log.Take(), Contains("4 Try to install VXT driver"));
    EXPECT_EQ(State(), kServiceRunning);
}

}  // namespace
