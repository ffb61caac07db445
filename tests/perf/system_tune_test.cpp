// The search for the highest stable clock: what it sets and tests, in which order, what it stores, and how it ends.
#include "perf/system_tune.h"

#include <vxtapi/memory_controller.h>
#include <vxtapi/vxtapi.h>

#include <cmath>
#include <functional>
#include <random>

#include "perf/config_parser.h"
#include "sim/models/core_clock.h"
#include "support/simulated_pc.h"

namespace {

using namespace vxttest;
using namespace vxtapi;

constexpr const char* kRunOnce = "HKCU\\SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\RunOnce!VXT";

/// A stability test that knows what the silicon stands, and tells it a second after it is exceeded.
class CKnowingCenter final : public CTestCenter {
public:
    std::function<bool()> m_IsTooFast = [] { return false; };
    std::function<void()> m_OnSecond = [] {};  ///< of a test
    bool m_bHasThreads = true, m_bStarted = false;

    void StartAll() override {}
    uint32_t RunTestCase(CTestCase*) override { return 0; }
    bool StopTestCase(CTestCase*) override { return false; }
    bool AddTestCase(CTestCase*, uint32_t, uint32_t) override { return false; }
    CTestCase* FindTestCase(uint32_t, uint32_t) override { return nullptr; }
    uint32_t GetTestCaseCount() override { return 1; }
    bool SetTestCaseRepeat(int32_t nIndex, uint32_t uRepeat) override {
        return m_bArmed = nIndex == 0 && uRepeat == kRepeatUntilStopped;
    }
    bool SetTestCaseRepeatFor(CTestCase*, uint32_t) override { return false; }
    void Clear() override {}
    void Start() override { m_bStarted = m_bArmed && m_bHasThreads; }
    void Stop() override { m_bStarted = false; }
    const TestError* GetNextError() override {
        m_OnSecond();
        return m_bStarted && m_IsTooFast() ? &m_Error : nullptr;
    }
    const TestResult* GetNextResult() override { return nullptr; }
    void Halt() override { m_bStarted = false; }
    bool IsRunning() override { return m_bStarted; }

private:
    bool m_bArmed = false;
    TestError m_Error{};
};

/// Writes a search down: "205+" passed, "210-" failed, "205=" set without a test, "215/" stopped; "x17" a new multiplier.
struct CNotes final : CTuneObserver {
    std::string m_sNotes;
    double m_dMultiplier = 0;
    std::vector<uint32_t> m_Durations;
    std::function<void(const TunePoint&)> m_OnPoint = [](const TunePoint&) {};

    void OnPoint(const TunePoint* pPoint) override {
        constexpr const char* kMarks[] = {nullptr, nullptr, "+", "-", "/", "="};
        if (m_dMultiplier != 0 && m_dMultiplier != pPoint->dMultiplier) m_sNotes += " x" + Text(pPoint->dMultiplier);
        m_dMultiplier = pPoint->dMultiplier;
        if (pPoint->uState == kTuneBegins) m_Durations.push_back(pPoint->uDuration);
        if (const char* const pszMark = kMarks[pPoint->uState])
            m_sNotes += " " + Text(pPoint->dReferenceClock) + pszMark;
        m_OnPoint(*pPoint);
    }
    static std::string Text(double d) {
        char szText[32];
        std::snprintf(szText, sizeof szText, "%g", d);
        return szText;
    }
};

/// Clocks as the firmware has them, kHz.
std::vector<int32_t> g_List(int32_t nFirst, int32_t nLast, int32_t nStep) {
    std::vector<int32_t> List;
    for (int32_t n = nFirst; n <= nLast; n += nStep) List.push_back(n);
    return List;
}

/// What differs from a usual desktop: 16 x 200 MHz, cores good for 3500 MHz.
struct CVariant {
    std::vector<int32_t> List = {};                                ///< none: any clock by the step
    std::vector<uint32_t> Info{190'000, 250'000, 200'000, 1'000};  ///< minimum, maximum, default, step
    uint32_t uMaxCof = 0;                                          ///< highest multiplier; 0: it is free
    bool bStuck = false;                                           ///< takes every clock and keeps its own
    double dLimit = 3500;                                          ///< MHz
    bool bRealTest = false;                                        ///< the library's own, on silicon of that limit
};

std::unique_ptr<vxt::CConfigParser> s_pConfig;
vxt::CConfigParser& g_Config() {
    if (!s_pConfig) s_pConfig = std::make_unique<vxt::CConfigParser>(L"VXTConfig.xml");
    return *s_pConfig;
}

/// Of a processor whose multiplier is free: 15 MHz are traded for a step, and the walk begins at the second entry again.
constexpr const char* kFreeCourse =
    "true, 3: 205+ 210+ 215+ 210= 205= 200= x16 205+ 210+ 215+ 210= 205= 200= x17 205+ 210- 205=";

class CSystemTuneTest : public CSimulatedPc {
protected:
    ~CSystemTuneTest() override {
        System().StopFailing();
        End();
    }
    static void End() {
        s_pConfig.reset();
        UnInitVXTAPI();
    }
    void Init(const CVariant& rVariant) {
        End();
        std::remove("VXTConfig.xml");
        Start("family10h-ddr3", [&](vxtsim::CMachineDescription& rMachine) {
            vxtsim::CFirmwareObject& rClock = rMachine.oFirmware->Objects.at(0);
            rClock.uProperty = rVariant.List.empty();
            rClock.Values = rVariant.List, rClock.Info = rVariant.Info, rClock.bStuck = rVariant.bStuck;
            rMachine.uHangCoreClock = 0;
            rMachine.uMaxCoreClock = rVariant.bRealTest ? static_cast<uint32_t>(rVariant.dLimit) : 0;
            rMachine.Msr.at({vxtsim::kAllCores, 0xC0010071}) |= uint64_t{rVariant.uMaxCof} << 49;
        });
        ASSERT_TRUE(InitVXTAPI(true));
        CTestCenter& rReal = *GetPerformanceControl()->GetTestCenter();
        m_oTune.emplace(*GetDeviceManager(), rVariant.bRealTest ? rReal : m_Center, g_Config);
        m_dLimit = rVariant.dLimit;
        m_Center.m_IsTooFast = [this] { return CoreMHz() > m_dLimit; };
        m_Notes.m_sNotes.clear(), m_Notes.m_dMultiplier = 0, m_Notes.m_Durations.clear();
        m_Log.Take();
    }
    double Clock() { return *System().m_Wmi.Firmware()->Value(0x01010000) / 1000.0; }
    double CoreMHz() { return Machine().Model<vxtsim::CCoreClock>()->CoreMHz(0); }
    /// Runs a search; how it ended, and what it did.
    std::string Search() {
        m_oTune->SetObserver(&m_Notes);
        const bool bResult = m_oTune->StartTune();
        return (bResult ? "true, " : "false, ") + std::to_string(m_oTune->GetStatus()) + ":" + m_Notes.m_sNotes;
    }
    /// What the configuration file has of the clock generator.
    static std::string Stored(const wchar_t* pszKey) {
        CDevice& rClkGen = *GetDeviceManager()->GetDevice(kDeviceClockGen, 0);
        std::wstring sText;
        g_Config().Reload();
        const bool bRead = g_Config().ReadValue(rClkGen.GetTypeName(), rClkGen.GetName(), pszKey, sText);
        return bRead ? std::string(sText.begin(), sText.end()) : "none";
    }

    CKnowingCenter m_Center;
    CNotes m_Notes;
    std::optional<vxt::CSystemTune> m_oTune;
    double m_dLimit = 0;
};

// Which clocks, how long each, what is stored, and the answers: a row for each way of a search.
TEST_F(CSystemTuneTest, Walks) {
    const std::vector<int32_t> kList = g_List(190'000, 250'000, 5'000);
    const struct {
        const char* pszWhat;
        CVariant Variant;
        const char *pszCourse, *pszStored;
    } kRows[] = {
        {"locked list up to the silicon's limit",
         {.List = kList, .uMaxCof = 32},
         "true, 3: 205+ 210+ 215+ 220- 215=",
         "215"},
        {"locked list up to its end",
         {.List = g_List(195'000, 210'000, 5'000), .uMaxCof = 32},
         "true, 0: 205+ 210+",
         "210"},
        {"free multiplier", {.List = kList}, kFreeCourse, "205"},
        {"fine steps",
         {.Info = {190'000, 206'000, 200'000, 1'000}, .uMaxCof = 32, .dLimit = 3250},
         "false, 3: 201+ 202+ 203+ 204- 203+",
         "203"},
        {"fine steps below the maximum",
         {.Info = {190'000, 203'000, 200'000, 500}, .uMaxCof = 32},
         "true, 0: 201+ 202+",
         "202"},
        {"coarse steps, and a megahertz less for each failure",
         {.Info = {190'000, 250'000, 200'000, 2'500}, .uMaxCof = 32, .dLimit = 3262},
         "false, 3: 202.5+ 205- 204- 203+",
         "203"},
        {"firmware that keeps its clock", {.List = kList, .bStuck = true}, "true, 3: 205- 200=", "200"},
    };
    for (const auto& rRow : kRows) {
        SCOPED_TRACE(rRow.pszWhat);
        Init(rRow.Variant);
        EXPECT_EQ(Search(), rRow.pszCourse);
        EXPECT_EQ(Stored(L"CPUTune"), rRow.pszStored);
        EXPECT_EQ(Stored(L"HTRefClock"), rRow.pszStored);
        EXPECT_EQ(Clock(), std::stod(rRow.pszStored));
        EXPECT_DOUBLE_EQ(m_oTune->GetReferenceClock(), Clock());
        EXPECT_EQ(m_oTune->GetLastTuneStatus(), m_oTune->GetStatus());
    }
}

TEST_F(CSystemTuneTest, EachFailureMakesTheTestAMinuteLonger) {
    Init({.Info = {190'000, 250'000, 200'000, 5'000}, .uMaxCof = 32, .dLimit = 3240});
    Search();
    EXPECT_EQ(m_Notes.m_Durations, (std::vector<uint32_t>{120, 180, 240, 300})) << "205, 204, 203 and 202";

    Init({.List = {205'000, 210'000}, .uMaxCof = 32, .dLimit = 3250});
    m_Center.m_OnSecond = [this] { m_dLimit += 1; };
    EXPECT_EQ(Search().substr(0, 16), "true, 3: 205- 20")
        << "kept: a failing first entry is tested on, at the same clock";
    EXPECT_EQ(m_Notes.m_Durations.size(), 30u);
    EXPECT_EQ(m_Notes.m_Durations.back(), 120u - 29) << "what was left";
    EXPECT_EQ(m_Notes.m_sNotes.substr(m_Notes.m_sNotes.size() - 4), "205+");
}

TEST_F(CSystemTuneTest, AStopEndsItWithinASecondAndStoresTheClockOfThatMoment) {
    Init({.List = g_List(190'000, 250'000, 5'000), .uMaxCof = 32});
    m_Center.m_OnSecond = [this] {
        if (Clock() == 210) m_oTune->Stop();
    };
    EXPECT_EQ(Search(), "false, 1: 205+ 210/");
    EXPECT_EQ(Stored(L"CPUTune"), "210");
    EXPECT_EQ(m_Log.TakeErrors().back(), g_ProcessError("TuneCPU()", "CSystemTune::AutoTune"));

    // From the observer, before the clock is set: it is not.
    Init({.List = g_List(190'000, 250'000, 5'000), .uMaxCof = 32});
    m_Center.m_OnSecond = [] {};
    m_Notes.m_OnPoint = [this](const TunePoint& rPoint) {
        if (rPoint.uState == kTuneBegins && rPoint.dReferenceClock == 210) m_oTune->Stop();
    };
    EXPECT_EQ(Search(), "false, 1: 205+ 210/ 205=");
    EXPECT_EQ(Stored(L"CPUTune"), "205");
}

// The PC dies at 233 MHz; the next start goes on from the last clock that was stored, by quick steps.
TEST_F(CSystemTuneTest, GoesOnNearWhereItDied) {
    const CVariant Variant{.Info = {190'000, 300'000, 200'000, 1'000}, .uMaxCof = 32, .dLimit = 3424};
    Init(Variant);
    std::string sRunOnce;
    m_Notes.m_OnPoint = [&](const TunePoint& rPoint) {
        if (rPoint.uState == kTuneBegins && sRunOnce.empty())
            sRunOnce = Machine().RegistryValue(kRunOnce).value_or("none");
    };
    g_Config().WriteValue(L"ClockGen", L"QOR Default Clock Generator", L"CPUTune", 212.9, true);
    EXPECT_EQ(Search(), "false, 3: 205+ 210+ 211+ 212+ 213+ 214+ 215- 214+");
    EXPECT_EQ(sRunOnce, "sz:C:\\Program Files\\Host\\host.exe AutoTune") << "while it runs";
    EXPECT_EQ(Machine().RegistryValue(kRunOnce), std::nullopt) << "at its end";

    static_cast<CClockGenerator*>(GetDeviceManager()->GetDevice(kDeviceClockGen, 0))->SetExternalClock(200);
    m_Notes.m_sNotes.clear();
    EXPECT_TRUE(m_oTune->ForgetLastTune());
    EXPECT_EQ(Search().substr(0, 24), "false, 3: 201+ 202+ 203+");
}

TEST_F(CSystemTuneTest, RefusesWhatItCannotTuneOrTest) {
    Init({.List = g_List(190'000, 250'000, 5'000)});
    EXPECT_EQ(m_oTune->GetLastTuneStatus(), kTuneNever);
    m_Center.m_bHasThreads = false;
    EXPECT_EQ(Search(), "true, 3: 205- 200=") << "nothing computes, so nothing is proven";
    m_Center.m_bHasThreads = true;

    Init({.Info = {}, .uMaxCof = 32});
    EXPECT_EQ(Search(), "false, 0:") << "a clock generator without an end";

    Init({.Info = {190'000, 212'000, 200'000, 1'000}, .uMaxCof = 32});
    g_Config().WriteValue(L"ClockGen", L"QOR Default Clock Generator", L"CPUTune", 99'999, true);
    EXPECT_EQ(Search(), "true, 0: 205+ 210+ 211+") << "a stored clock that never was";

    Init({.dLimit = 100});  // a processor that errs at any clock
    EXPECT_EQ(Search().substr(0, 20), "false, 3: 201- 200- ");
    EXPECT_EQ(Clock(), 200) << "not below the minimum, 190 MHz";

    End();
    Start("family10h-ddr2");
    ASSERT_TRUE(InitVXTAPI(true));
    m_Log.Take(), m_Notes.m_sNotes.clear();
    EXPECT_EQ(Search(), "false, 0:") << "firmware without tuning";
    const Lines Errors = m_Log.TakeErrors();
    ASSERT_GE(Errors.size(), 2u);
    EXPECT_EQ(Errors.end()[-2], g_ProcessError("pHandler->Init()", "CSystemTune::TuneCPU"));
    EXPECT_EQ(m_oTune->GetLastTuneStatus(), 0);
    EXPECT_EQ(Machine().RegistryValue(kRunOnce), std::nullopt);
}

// Whatever call or request fails once: a proven clock is in force, the tuner knows it, nothing but a failed deletion leaves
// the RunOnce value behind, and the next search works.
TEST_F(CSystemTuneTest, EveryFailureLeavesAProvenClock) {
    const CVariant Variant{.List = {200'000, 214'000, 220'000}};
    Init(Variant);
    TakeTrace();
    ASSERT_EQ(Search(), "true, 3: 214+ 209= 204= 200= x16 214+ 209= 204= 200= x17 214- 200=");
    const Lines Trace = TakeTrace();
    for (size_t uGood = 0; uGood < Trace.size(); uGood += uGood < 60 ? 1 : 7) {  // the same comes again and again
        SCOPED_TRACE("call " + std::to_string(uGood) + " fails: " + Trace[uGood]);
        Init(Variant);
        System().FailAfter(uGood);
        Search();
        EXPECT_TRUE(System().HasFailed());
        System().StopFailing();
        EXPECT_LE(CoreMHz(), m_dLimit);
        const double dKnown = m_oTune->GetReferenceClock();
        EXPECT_TRUE(dKnown == 0 || dKnown == Clock()) << dKnown;
        EXPECT_TRUE(m_oTune->GetStatus() == kTuneFailed || m_oTune->GetStatus() == kTuneFinished);
        if (Trace[uGood].starts_with("ReadMsr") || Trace[uGood] == "ExecuteWmiMethod") {
            EXPECT_EQ(m_oTune->GetLastTuneStatus(), m_oTune->GetStatus());
        }
        const bool bDeletion = Trace[uGood] == "OpenUserKeyToWrite" || Trace[uGood] == "DeleteRegistryValue";
        EXPECT_EQ(Machine().RegistryValue(kRunOnce).has_value(), bDeletion);
        if (HasFailure()) return;
    }
}

// Generated machines: the clock that a search leaves in force is never above the silicon's limit; a step more would be.
TEST_F(CSystemTuneTest, FindsTheLimitOfGeneratedMachines) {
    std::mt19937 Random(20261122);
    const auto Pick = [&](uint32_t uLow, uint32_t uHigh) {
        return uLow + static_cast<uint32_t>(Random() % (uHigh - uLow + 1));
    };
    for (int i = 0; i < 16; ++i) {
        const bool bList = Pick(0, 1), bLocked = Pick(0, 2) != 0;
        const uint32_t uStep = Pick(0, 1) ? Pick(500, 1'000) : Pick(1'001, 6'000), uMaximum = Pick(203'000, 245'000);
        CVariant Variant{.Info = {150'000, uMaximum, 200'000, uStep}, .uMaxCof = bLocked ? 32u : 0u};
        if (bList) Variant.List = g_List(200'000 - 3 * uStep, uMaximum, uStep);
        Variant.dLimit = Pick(3'201, 3'600);
        Variant.bRealTest = i % 4 == 0;
        SCOPED_TRACE("machine " + std::to_string(i) + ": limit " + CNotes::Text(Variant.dLimit) + ", step " +
                     std::to_string(uStep) + " up to " + std::to_string(uMaximum) + (bList ? ", list" : "") +
                     (bLocked ? "" : ", free"));
        Init(Variant);
        const std::string sCourse = Search();
        SCOPED_TRACE(sCourse);
        EXPECT_LE(CoreMHz(), Variant.dLimit);
        EXPECT_DOUBLE_EQ(m_oTune->GetReferenceClock(), Clock());
        const double dMore =
            bList || !bLocked ? uStep / 1000.0 : 1.0;  // after a failure, a list goes back a whole entry
        const bool bTop = Clock() + std::max(1.0, uStep / 1000.0) >= uMaximum / 1000.0;
        const double dMultiplier = CoreMHz() / Clock();
        if (bLocked) { EXPECT_TRUE(bTop || (Clock() + dMore) * dMultiplier > Variant.dLimit); }
        if (!bLocked) {
            EXPECT_GT(CoreMHz() + 200 + 16 * 6, std::min(Variant.dLimit, uMaximum / 1000.0 * 16))
                << "within a step of the multiplier";
        }
    }
}

// No test runs between the steps; a DDR controller is always told 100 MHz.
TEST_F(CSystemTuneTest, MemoryClocksAreSteppedUp) {
    const struct {
        const char* pszMachine;
        double dTold, dLast;
    } kRows[] = {{"k8-first", 100, 200}, {"k8-revf-dual", 400, 400}, {"family10h-ddr3", 0, 800}};
    for (const auto& rRow : kRows) {
        SCOPED_TRACE(rRow.pszMachine);
        End();
        Start(rRow.pszMachine);
        ASSERT_TRUE(InitVXTAPI(true));
        auto& rMemory = *static_cast<CMemoryController*>(GetDeviceManager()->GetDevice(kDeviceMemoryController, 0));
        MemConfig Before{}, After{};
        ASSERT_TRUE(rMemory.GetMemConfig(&Before));
        vxt::CSystemTune Tune(*GetDeviceManager(), m_Center, g_Config);
        EXPECT_TRUE(Tune.AutoTune(false, true, true));
        ASSERT_TRUE(rMemory.GetMemConfig(&After));
        EXPECT_EQ(After.dMemoryClock, rRow.dTold ? rRow.dTold : Before.dMemoryClock);
        EXPECT_EQ(Tune.GetMemoryClock(), rRow.dLast);
        EXPECT_EQ(After.bApply, 0);
    }
}

}  // namespace
