// The test center: what it starts, what it keeps of what test cases report, and who owns what.
#include "bench/test_center.h"

#include <list>
#include <thread>

#include "api/log/log.h"
#include "devices/device_list.h"
#include "perf/performance_control.h"
#include "platform/clock.h"
#include "support/allocations.h"
#include "support/simulated_pc.h"

namespace {

using namespace vxttest;
using namespace vxtapi;
using namespace std::chrono_literals;

/// A host's test case, which does what it is told and counts.
struct CHostTestCase final : CTestCase {
    explicit CHostTestCase(int& rnLiving, std::function<void(CHostTestCase&)> OnRun = {})
        : m_rnLiving(rnLiving), m_OnRun(std::move(OnRun)) {
        ++m_rnLiving;
    }
    uint32_t GetKind() override { return 1000; }
    uint32_t Run(TestErrorCallback pReportError, TestResultCallback pReportResult) override {
        m_pReportError = pReportError, m_pReportResult = pReportResult;
        ++m_nRuns;
        if (m_OnRun) m_OnRun(*this);
        return 0;
    }
    void Stop() override { ++m_nStops; }
    void Destroy() override {
        --m_rnLiving;
        delete this;
    }

    int& m_rnLiving;
    std::function<void(CHostTestCase&)> m_OnRun;
    std::atomic<int> m_nRuns = 0, m_nStops = 0;
    TestErrorCallback m_pReportError = nullptr;
    TestResultCallback m_pReportResult = nullptr;
};

class CTestCenterTest : public CSimulatedPc {
protected:
    CTestCenterTest() { vxt::g_GetLog().Init("VXTAPI", 65535, vxt::CLog::kToFile, 10000); }
    ~CTestCenterTest() override {
        m_rCenter.UnInit();
        EXPECT_EQ(m_nLiving, 0);
    }

    CHostTestCase& Add(uint32_t uRepeat, std::function<void(CHostTestCase&)> OnRun = {}, uint32_t uCore = 0) {
        auto* const pTestCase = new CHostTestCase(m_nLiving, std::move(OnRun));
        EXPECT_TRUE(m_rCenter.AddTestCase(pTestCase, uRepeat, uCore));
        return *pTestCase;
    }
    void AwaitEnd() const {
        while (m_rCenter.IsRunning()) std::this_thread::sleep_for(1ms);
    }

    vxt::CTestCenter& m_rCenter = vxt::g_GetTestCenter();
    int m_nLiving = 0;
};

TEST_F(CTestCenterTest, StartLeavesOutWhatIsSwitchedOffAndStartAllDoesNot) {
    CHostTestCase& rOff = Add(0);
    CHostTestCase& rThree = Add(3);
    CHostTestCase& rNegative = Add(0x80000000);  // kept: the number of passes is compared as a signed one
    CHostTestCase& rForever = Add(kRepeatUntilStopped, [](auto&) { std::this_thread::sleep_for(1ms); });
    m_rCenter.Start();
    while (rForever.m_nRuns < 5 || rThree.m_nRuns < 3) std::this_thread::sleep_for(1ms);
    EXPECT_TRUE(m_rCenter.IsRunning());
    m_rCenter.Stop();
    EXPECT_FALSE(m_rCenter.IsRunning());
    EXPECT_EQ(rForever.m_nStops, 1);
    EXPECT_EQ(rThree.m_nRuns, 3) << "without a stop";
    EXPECT_EQ(rOff.m_nRuns, 0);
    EXPECT_EQ(rNegative.m_nRuns, 0);

    EXPECT_FALSE(m_rCenter.SetTestCaseRepeat(-1, 1));
    EXPECT_FALSE(m_rCenter.SetTestCaseRepeat(4, 1));
    EXPECT_TRUE(m_rCenter.SetTestCaseRepeat(0, 1));
    EXPECT_TRUE(m_rCenter.SetTestCaseRepeatFor(&rForever, 0));
    m_rCenter.Start();
    AwaitEnd();
    EXPECT_EQ(rOff.m_nRuns, 1);
    EXPECT_EQ(rThree.m_nRuns, 6);

    const int nRuns = rForever.m_nRuns;
    EXPECT_TRUE(m_rCenter.SetTestCaseRepeat(1, 0));
    m_rCenter.StartAll();
    AwaitEnd();
    EXPECT_EQ(rOff.m_nRuns, 2);
    EXPECT_EQ(rForever.m_nRuns, nRuns) << "its thread was started, and had no pass to run";
}

TEST_F(CTestCenterTest, ReportsWaitInOrderUntilTheyAreFetched) {
    CHostTestCase& rFirst = Add(
        2,
        [](CHostTestCase& rSelf) {
            rSelf.m_pReportResult(&rSelf, 10.0 * rSelf.m_nRuns);
            rSelf.m_pReportError(&rSelf, static_cast<uint32_t>(rSelf.m_nRuns));
        },
        35);
    m_rCenter.Start();
    AwaitEnd();
    m_rCenter.Halt();  // keeps them
    const TestError* const pFirst = m_rCenter.GetNextError();
    const TestError* const pSecond = m_rCenter.GetNextError();
    ASSERT_TRUE(pFirst && pSecond);
    EXPECT_EQ(pFirst->pTestCase, &rFirst);
    EXPECT_EQ(pFirst->uCode, 1u) << "the first record is still there";
    EXPECT_EQ(pFirst->uKind, 1000u);
    EXPECT_EQ(pFirst->uCore, 35u) << "kept: pinned modulo 32";
    EXPECT_EQ(pSecond->uCode, 2u);
    EXPECT_EQ(m_rCenter.GetNextError(), nullptr);
    const TestResult* const pResult = m_rCenter.GetNextResult();
    ASSERT_NE(pResult, nullptr);
    EXPECT_EQ(pResult->dValue, 20.0) << "one value a test case, the latest";
    EXPECT_EQ(m_rCenter.GetNextResult(), nullptr);

    rFirst.m_pReportError(&rFirst, 7);
    rFirst.m_pReportResult(&rFirst, 1);
    m_rCenter.Stop();  // forgets them
    EXPECT_EQ(m_rCenter.GetNextError(), nullptr);
    EXPECT_EQ(m_rCenter.GetNextResult(), nullptr);

    for (size_t i = 0; i < vxt::CTestErrors::kMost + 10; ++i) rFirst.m_pReportError(&rFirst, 8);
    size_t uWaiting = 0;
    while (m_rCenter.GetNextError()) ++uWaiting;
    EXPECT_EQ(uWaiting, vxt::CTestErrors::kMost) << "a host that fetches none does not run out of memory";

    rFirst.m_pReportError(&rFirst, 9);
    rFirst.m_pReportResult(&rFirst, 1);
    m_rCenter.Clear();
    EXPECT_EQ(m_rCenter.GetNextError(), nullptr);
    EXPECT_EQ(m_rCenter.GetNextResult(), nullptr);
}

TEST_F(CTestCenterTest, WhatFailsIsDroppedAndLogged) {
    CHostTestCase& rHost = Add(1);
    m_rCenter.Start();
    AwaitEnd();
    rHost.m_pReportError(nullptr, 1);
    rHost.m_pReportResult(nullptr, 1);
    EXPECT_EQ(m_Log.TakeErrors(), (Lines{g_ProcessError("pTestCase", "CTestCenter::ReportError"),
                                         g_ProcessError("pTestCase", "CTestCenter::ReportResult")}));
    EXPECT_EQ(m_rCenter.GetNextError(), nullptr);

    struct {
        const char *pszText, *pszFunction;
        std::function<void()> Report;
    } Reports[] = {
        {"pErrorMessage", "CTestCenter::ReportError", [&] { rHost.m_pReportError(&rHost, 1); }},
        {"pTestResult", "CTestCenter::ReportResult", [&] { rHost.m_pReportResult(&rHost, 1); }},
        {"pThread", "CTestCenter::AddTestCase", [&] { m_rCenter.AddTestCase(&rHost, 1, 0); }},
    };
    for (const auto& [pszText, pszFunction, Report] : Reports) {
        CAllocationFault Fault(0);
        Report();
        Fault.Stop();
        EXPECT_EQ(m_Log.TakeErrors(), Lines{g_ProcessError(pszText, pszFunction)});
    }
    EXPECT_EQ(m_rCenter.GetTestCaseCount(), 1u);
    EXPECT_EQ(m_rCenter.GetNextError(), nullptr);

    System().FailAfter(0);
    m_rCenter.Start();
    System().StopFailing();
    EXPECT_EQ(m_Log.TakeErrors(), Lines{g_CheckError("bRetCode", "CTestCenter::Start")});
    EXPECT_FALSE(m_rCenter.IsRunning());

    const int nRuns = rHost.m_nRuns;
    CHostTestCase& rElsewhere = Add(1, {}, 31);  // no such processor
    m_rCenter.Start();
    AwaitEnd();
    m_rCenter.Halt();
    EXPECT_EQ(m_Log.TakeErrors(), Lines{g_ProcessError("uOldMask", "CTestCenter::CTestCaseThread::run")});
    EXPECT_EQ(rElsewhere.m_nRuns, 0);
    EXPECT_EQ(rHost.m_nRuns, nRuns + 1) << "the others run";
}

TEST_F(CTestCenterTest, APassOnTheHostsOwnThread) {
    CHostTestCase& rHost = Add(0);
    EXPECT_EQ(m_rCenter.RunTestCase(&rHost), 0u);
    EXPECT_EQ(rHost.m_nRuns, 1);
    EXPECT_TRUE(m_rCenter.StopTestCase(&rHost));
    EXPECT_EQ(rHost.m_nStops, 1);
    int nNone = 0;
    CHostTestCase Stranger(nNone);
    EXPECT_EQ(m_rCenter.RunTestCase(&Stranger), 0u);
    EXPECT_FALSE(m_rCenter.StopTestCase(&Stranger));
    EXPECT_FALSE(m_rCenter.SetTestCaseRepeatFor(&Stranger, 1));
    EXPECT_EQ(Stranger.m_nRuns, 0);
}

/// The library's own test cases, over the processors of a PC.
class CStressTest : public CTestCenterTest {
protected:
    void StartPc(uint32_t uMaxCoreClock) {
        Start(kDefaultMachine, [=](auto& rMachine) { rMachine.uMaxCoreClock = uMaxCoreClock; });
        ASSERT_TRUE(StartDriver());
        ASSERT_TRUE(vxt::g_GetDeviceManager().Init(nullptr));
    }
    ~CStressTest() override { vxt::g_GetDeviceManager().UnInit(); }
    Lines Codes() const {
        Lines Found;
        while (const TestError* const pError = m_rCenter.GetNextError()) Found.push_back(std::to_string(pError->uCode));
        return Found;
    }
};

TEST_F(CStressTest, EveryProcessorHasAnIntegerAndAFloatingPointTestCase) {
    StartPc(0);
    const auto TestCases = [&] {
        Lines Kinds;
        for (uint32_t uCore = 0; uCore < 5; ++uCore)
            for (const uint32_t uKind : {kTestInteger, kTestFloatingPoint})
                if (CTestCase* const p = m_rCenter.FindTestCase(uKind, uCore))
                    Kinds.push_back(std::to_string(p->GetKind()));
        return Kinds;
    };
    const Lines kAll{"0", "1", "0", "1", "0", "1", "0", "1"};
    for (const char* const pszTime : {"first", "second: nothing is there twice"}) {
        EXPECT_TRUE(m_rCenter.Init(vxt::g_GetDeviceManager())) << pszTime;
        EXPECT_EQ(TestCases(), kAll) << pszTime;
        EXPECT_EQ(m_rCenter.GetTestCaseCount(), 8u) << pszTime;
    }
    m_rCenter.Clear();
    EXPECT_EQ(m_rCenter.GetTestCaseCount(), 0u);

    m_Log.TakeErrors();
    std::vector<Lines> Failures;
    for (uint64_t ullGood = 0;; ++ullGood) {
        CAllocationFault Fault(ullGood);
        const bool bDone = m_rCenter.Init(vxt::g_GetDeviceManager());
        Fault.Stop();
        if (!Fault.HasFailed()) break;
        EXPECT_FALSE(bDone) << ullGood;
        const Lines Now = m_Log.TakeErrors();
        if (!std::ranges::count(Failures, Now)) Failures.push_back(Now);
        m_rCenter.Clear();
    }
    const std::string sInit = "CTestCenter::Init";
    EXPECT_THAT(Failures,
                ::testing::UnorderedElementsAre(
                    Lines{g_ProcessError("pTestCPU", sInit)}, Lines{g_ProcessError("pTestFPU", sInit)},
                    Lines{g_ProcessError("pThread", "CTestCenter::AddTestCase"), g_ProcessError("bRetCode", sInit)}));
}

TEST_F(CStressTest, APassFindsNothingInASoundProcessorAndWhatIsWrongInABadOne) {
    for (const uint32_t uMaxCoreClock : {0u, 1000u}) {  // the cores run at 3000 MHz
        StartPc(uMaxCoreClock);
        ASSERT_TRUE(m_rCenter.Init(vxt::g_GetDeviceManager()));
        for (const uint32_t uKind : {kTestInteger, kTestFloatingPoint}) {
            SCOPED_TRACE("kind " + std::to_string(uKind) + ", silicon good for " + std::to_string(uMaxCoreClock));
            CTestCase* const pTestCase = m_rCenter.FindTestCase(uKind, 2);
            const uint32_t uMismatches = m_rCenter.RunTestCase(pTestCase);
            const TestError* const pError = m_rCenter.GetNextError();
            EXPECT_EQ(uMismatches != 0, uMaxCoreClock != 0);
            ASSERT_EQ(pError != nullptr, uMismatches != 0);
            if (!pError) continue;
            EXPECT_EQ(pError->pTestCase, pTestCase);
            EXPECT_EQ(pError->uKind, uKind);
            EXPECT_EQ(pError->uCore, 2u);
            EXPECT_EQ(pError->ullPass, 1u);
            EXPECT_EQ(pError->uSeenBefore, 0u);
            EXPECT_GT(pError->dSeconds, 0);
            if (uKind == kTestInteger) {
                EXPECT_EQ(pError->uCode, kTestErrorSquares);
                EXPECT_EQ(pError->ullExpected, 49'999'995'000'000u);
                EXPECT_EQ(pError->ullBits, pError->ullExpected ^ pError->ullFound);
                EXPECT_EQ(uMismatches, 2u);
                EXPECT_EQ(Codes(), Lines{"12"});
            } else {
                EXPECT_GE(pError->uCode, kTestErrorRoundOff);
                EXPECT_GT(pError->uSize, 0u);
                EXPECT_GT(pError->ullIteration, 0u);
            }
        }
        m_rCenter.Clear();
        vxt::g_GetDeviceManager().UnInit();
    }
}

TEST_F(CStressTest, AnErrorThatVirtualTimeBringsIsFoundInThatTime) {
    constexpr int kSeconds = 3;
    for (const auto& [uMaxCoreClock, nExpected] :
         {std::pair{3000u, 0}, std::pair{2998u, kSeconds}}) {  // runs at 3000 MHz
        StartPc(uMaxCoreClock);
        ASSERT_TRUE(m_rCenter.Init(vxt::g_GetDeviceManager()));
        const uint64_t ullBegin = Machine().Now();
        int nFound = 0;
        for (int nSecond = 0; nSecond < kSeconds; ++nSecond) {
            m_rCenter.StartAll();
            vxt::platform::SleepWhileComputing(1000);
            nFound += !Codes().empty();
            m_rCenter.Stop();
        }
        EXPECT_EQ(nFound, nExpected);
        EXPECT_EQ(Machine().Now() - ullBegin, kSeconds * 1'000'000'000u);
    }
}

TEST_F(CStressTest, TheSamePlaceThatFailsAlikeIsCounted) {
    vxt::CTestErrors Errors;
    TestError Error{};
    Error.uCode = kTestErrorChecksum, Error.uSize = 4096, Error.ullIteration = 7, Error.ullFound = 1;
    const auto SeenBefore = [&](uint64_t ullIteration, uint64_t ullFound) {
        Error.ullIteration = ullIteration, Error.ullFound = ullFound;
        EXPECT_TRUE(Errors.Add(Error));
        return Errors.TakeNext()->uSeenBefore;
    };
    EXPECT_EQ(SeenBefore(7, 1), 0u);
    EXPECT_EQ(SeenBefore(7, 2), 0u) << "another wrong value";
    EXPECT_EQ(SeenBefore(8, 1), 0u) << "another step";
    Error.uCore = 3;
    EXPECT_EQ(SeenBefore(7, 1), 1u) << "on another core";
    EXPECT_EQ(SeenBefore(7, 1), 2u);
    EXPECT_EQ(SeenBefore(0, 1) + SeenBefore(0, 1), 0u) << "nobody knows where in the computation";
    Errors.Clear();
    EXPECT_EQ(SeenBefore(7, 1), 0u);
    Error.dRoundOff = std::numeric_limits<double>::infinity();
    EXPECT_EQ(SeenBefore(7, 1) + SeenBefore(7, 1), 0u) << "what ran away is always alike";
}

TEST_F(CStressTest, AStopEndsOnePass) {
    StartPc(0);
    ASSERT_TRUE(m_rCenter.Init(vxt::g_GetDeviceManager()));
    CTestCase* const pInteger = m_rCenter.FindTestCase(kTestInteger, 0);
    const auto Passes = [&] {
        AwaitEnd();
        double dPasses = -1;
        while (const TestResult* const pResult = m_rCenter.GetNextResult())
            if (pResult->pTestCase == pInteger) dPasses = pResult->dValue;
        return dPasses;
    };
    m_rCenter.StartAll();
    std::this_thread::sleep_for(20ms);
    m_rCenter.Halt();
    EXPECT_FALSE(m_rCenter.IsRunning());
    EXPECT_EQ(Codes(), Lines{}) << "a pass that was cut short is no error";

    EXPECT_TRUE(m_rCenter.StopTestCase(pInteger));
    m_rCenter.RunTestCase(pInteger);
    EXPECT_EQ(Passes(), 1) << "an earlier stop does not cut a later pass";
    for (uint32_t u = 0; u < m_rCenter.GetTestCaseCount(); ++u) m_rCenter.SetTestCaseRepeat(static_cast<int32_t>(u), 0);
    m_rCenter.SetTestCaseRepeatFor(pInteger, 3);
    m_rCenter.Start();
    EXPECT_TRUE(m_rCenter.StopTestCase(pInteger));
    EXPECT_GE(Passes(), 2) << "the thread goes on with the next one";
}

TEST_F(CStressTest, WithoutMemoryForAnyNumberAPassIsAMismatchAndNotCompleted) {
    StartPc(0);
    ASSERT_TRUE(m_rCenter.Init(vxt::g_GetDeviceManager()));
    CTestCase* const pTestCase = m_rCenter.FindTestCase(kTestFloatingPoint, 0);
    m_Log.TakeErrors();
    std::list<CAllocationFault> Faults;
    const std::function<void()> Fail = [&] { Faults.emplace_back(0, Fail); };
    Fail();
    const uint32_t uMismatches = m_rCenter.RunTestCase(pTestCase);
    Faults.clear();
    EXPECT_EQ(uMismatches, 1u);
    EXPECT_EQ(m_Log.TakeErrors().front(), g_ProcessError("pErrorMessage", "CTestCenter::ReportError"))
        << "not even for that";
    EXPECT_EQ(m_rCenter.RunTestCase(pTestCase), 0u);
    EXPECT_EQ(m_rCenter.GetNextResult()->dValue, 1);
}

TEST_F(CStressTest, TheDirectoryHandsOutWhatIsThere) {
    StartPc(0);
    vxt::CPerformanceControl& rControl = vxt::g_GetPerformanceControl();
    EXPECT_TRUE(rControl.Uninitialize()) << "before a start";
    EXPECT_EQ(rControl.GetTestCenter(), nullptr);
    EXPECT_EQ(rControl.GetSystemTune(), nullptr);
    EXPECT_TRUE(rControl.Initialize() && rControl.Initialize());
    EXPECT_STREQ(rControl.GetSystemTune()->GetName(), L"QORSystemTune");
    EXPECT_EQ(rControl.GetTestCenter(), &m_rCenter);
    EXPECT_NE(rControl.GetBenchmarkCenter(), nullptr);
    EXPECT_TRUE(rControl.Uninitialize() && rControl.Uninitialize());
    EXPECT_EQ(rControl.GetBenchmarkCenter(), nullptr);
    EXPECT_EQ(m_rCenter.GetTestCaseCount(), 0u);

    bool bHalf = false;
    m_Log.TakeErrors();
    for (uint64_t ullGood = 0;; ++ullGood) {
        CAllocationFault Fault(ullGood);
        const bool bDone = rControl.Initialize();
        Fault.Stop();
        if (!Fault.HasFailed()) break;
        EXPECT_FALSE(bDone) << ullGood;
        EXPECT_EQ(m_Log.TakeErrors().back(), g_ProcessError("bRetCode", "CPerformanceControl::Initialize"));
        EXPECT_TRUE(!rControl.GetTestCenter() && !rControl.GetSystemTune()) << ullGood;
        bHalf |= rControl.GetBenchmarkCenter() != nullptr;
        rControl.Uninitialize();
    }
    EXPECT_TRUE(bHalf) << "kept: the benchmark center stays when the test center fails";
    rControl.Uninitialize();
}

}  // namespace
