// A host as another compiler builds it: Microsoft C++ ABI, no runtime library. It calls the library's objects by bare
// slot numbers, and once more through the SDK's classes, and both must reach the same operations.
#include <vxtapi/vxtapi.h>

using namespace vxtapi;

extern "C" {
void* __stdcall LoadLibraryA(const char*);
void* __stdcall GetProcAddress(void*, const char*);
[[noreturn]] void __stdcall ExitProcess(unsigned);
int printf(const char*, ...);
extern const int _fltused = 0;  // what this ABI's compilers want of a runtime when floating point is used
}

namespace {

int s_nFailed = 0;

void g_Check(const char* pszWhat, bool bHolds) {
    printf("%s %s\n", bHolds ? "ok  " : "FAIL", pszWhat);
    if (!bHolds) ++s_nFailed;
}

bool g_IsSame(const wchar_t* pszLeft, const wchar_t* pszRight) {
    while (*pszLeft && *pszLeft == *pszRight) ++pszLeft, ++pszRight;
    return *pszLeft == *pszRight;
}

template <class TFunction> void g_Find(void* hLibrary, const char* pszName, TFunction*& rpFunction) {
    rpFunction = reinterpret_cast<TFunction*>(GetProcAddress(hLibrary, pszName));
    if (!rpFunction) ExitProcess(3);
}

/// Calls operation `uSlot` of an object of which only the address is known.
template <class TResult, class... TArguments> TResult g_Call(void* pObject, unsigned uSlot, TArguments... Arguments) {
    using TOperation = TResult(__thiscall*)(void*, TArguments...);
    return (*static_cast<TOperation**>(pObject))[uSlot](pObject, Arguments...);
}

void g_CheckManager(void* pManager, CDeviceManager* pSdkManager) {
    const uint32_t uTypes = g_Call<uint32_t>(pManager, 4);
    void* const pFirst = g_Call<void*>(pManager, 0, uint32_t{0});
    g_Check("manager 0: device by type position", pFirst && pFirst == pSdkManager->GetDevice(0u));
    g_Check("manager 0: position out of range", !g_Call<void*>(pManager, 0, uTypes));
    void* const pThird = g_Call<void*>(pManager, 1, uint32_t{kDeviceCpu}, uint32_t{2});
    g_Check("manager 1: device by type and index", pThird && pThird == pSdkManager->GetDevice(kDeviceCpu, 2));
    g_Check("manager 1: absent device", !g_Call<void*>(pManager, 1, uint32_t{kDeviceCpu}, uint32_t{4}));
    g_Check("manager 2: count by name", g_Call<uint32_t>(pManager, 2, L"QOR Family 10h Processor") == 4);
    g_Check("manager 3: count by type", g_Call<uint32_t>(pManager, 3, uint32_t{kDeviceCpu}) == 4);
    g_Check("manager 4: types", uTypes >= 2 && uTypes == pSdkManager->GetDeviceTypeCount());
    g_Check("manager 5: refresh", g_Call<bool>(pManager, 5) && pSdkManager->Refresh());
}

void g_CheckDevice(void* pDevice, CDevice* pSdkDevice) {
    const auto Text = [=](unsigned uSlot) { return g_Call<const wchar_t*>(pDevice, uSlot); };
    g_Check("device 2: model", Text(2) == pSdkDevice->GetModel() && Text(2)[0]);
    g_Check("device 3: description", Text(3) == pSdkDevice->GetDescription() && Text(3) != Text(2));
    g_Check("device 4: vendor", g_IsSame(Text(4), L"AuthenticQOR") && g_IsSame(pSdkDevice->GetVendor(), Text(4)));
    g_Check("device 5: type text", g_IsSame(Text(5), L"CPU") && g_IsSame(pSdkDevice->GetTypeName(), L"CPU"));
    g_Check("device 6: name", g_IsSame(Text(6), L"QOR Family 10h Processor") && pSdkDevice->GetName() == Text(6));
    g_Check("device 7: type", g_Call<uint32_t>(pDevice, 7) == 0 && pSdkDevice->GetType() == kDeviceCpu);
    g_Check("device 8: index", g_Call<uint32_t>(pDevice, 8) == 2 && pSdkDevice->GetIndex() == 2);
    g_Check("device 9: version", g_Call<uint32_t>(pDevice, 9) == 20070518 && pSdkDevice->GetVersion() == 20070518);
}

void g_CheckCpu(void* pCpu, CCPU* pSdkCpu) {
    g_Check("cpu 10: family", g_Call<uint32_t>(pCpu, 10) == 15 && pSdkCpu->GetFamily() == 15);
    g_Check("cpu 11: extended family", g_Call<uint32_t>(pCpu, 11) == 1 && pSdkCpu->GetExtendedFamily() == 1);
    const double dMultiplier = g_Call<double>(pCpu, 28);
    g_Check("cpu 28: multiplier, a double",
            dMultiplier >= 4 && dMultiplier < 32 && dMultiplier == pSdkCpu->GetCurrentMultiplier());
    double dReference = 0;  // a measurement gives up after a second: a busy machine may need another
    for (int i = 0; i < 10 && dReference == 0; ++i) dReference = g_Call<float>(pCpu, 19) / dMultiplier;
    g_Check("cpu 19: clock, a float", dReference > 195 && dReference < 205);
    const double dVolts = g_Call<double>(pCpu, 22);
    g_Check("cpu 22: voltage", dVolts > 0.5 && dVolts < 1.6 && dVolts == pSdkCpu->GetCurrentVoltage());

    const uint32_t uMaximum = g_Call<uint32_t>(pCpu, 45);
    g_Check("cpu 45: highest P-state", uMaximum >= 1 && uMaximum <= 4 && uMaximum == pSdkCpu->GetMaxPstate());
    CPstate Raw{}, Sdk{};
    const bool bRead = g_Call<bool>(pCpu, 41, uMaximum, &Raw) && pSdkCpu->GetPstate(uMaximum, &Sdk);
    g_Check("cpu 41: P-state record", bRead && Raw.bPstateEn && Raw.dPstateEn == 1 && Raw.dCoreFrequency >= 400 &&
                                          Raw.dCoreFrequency == Sdk.dCoreFrequency && Raw.dNbVoltage == Sdk.dNbVoltage);
    // A transition takes a while, and on the simulated PC time passes with requests only.
    const auto Becomes = [=](uint32_t uPstate) {
        for (int i = 0; i < 1000; ++i)
            if (g_Call<uint32_t>(pCpu, 43) == uPstate) return pSdkCpu->GetCurPstate() == uPstate;
        return false;
    };
    g_Check("cpu 44, 43: P-state there", g_Call<bool>(pCpu, 44, uMaximum) && Becomes(uMaximum));
    g_Check("cpu 44, 43: and back", pSdkCpu->SetCurPstate(0) && Becomes(0));
    g_Check("cpu 31: multiplier set, a double in",
            g_Call<bool>(pCpu, 31, dMultiplier) && pSdkCpu->GetCurrentMultiplier() == dMultiplier);
    bool bSupported = false, bEnabled = false, bSdkSupported = true, bSdkEnabled = true;
    const bool bBoost =
        g_Call<bool>(pCpu, 46, &bSupported, &bEnabled) && pSdkCpu->GetBoostState(&bSdkSupported, &bSdkEnabled);
    g_Check("cpu 46: boost, two answers", bBoost && bSupported == bSdkSupported && bEnabled == bSdkEnabled);
    g_Check("cpu 48: multiplier limit", g_Call<bool>(pCpu, 48) == pSdkCpu->IsMultiplierLimited());
}

void g_CheckServices(void* pLog, CLog* pSdkLog, CPerformanceControl* pControl) {
    using TWrite = bool(__cdecl*)(void*, uint32_t, const char*, ...);  // variable arguments are never thiscall
    const TWrite pWrite = **static_cast<TWrite**>(pLog);
    g_Check("log 0: a line",
            pWrite(pLog, 2, "raw %d %s", 42, "host") && pSdkLog->WriteLog(kLogDiagnostic, "sdk %.2f", 0.5));
    g_Check("performance 2: benchmark center", g_Call<void*>(pControl, 2) == pControl->GetBenchmarkCenter());
}

void g_CheckProfiles(CProfileSettgins* pProfiles) {
    CProfile* const pProfile = pProfiles->OpenProfile(L"./foreign.xml");
    g_Check("profiles 1, profile 3: opened", pProfile && !pProfile->FileExists() && !pProfile->GetProblem()[0]);
    if (!pProfile) return;
    double dValue = 0;
    const bool bSet = g_Call<bool>(pProfile, 7, L"CPU", L"QOR Family 10h Processor", L"Multiplier3", 11.5);
    g_Check("profile 7, 6: a value and back",
            bSet && g_Call<bool>(pProfile, 6, L"CPU", L"QOR Family 10h Processor", L"Multiplier3", &dValue) &&
                dValue == 11.5);
    ProfileEntry Entry{};
    g_Check("profile 5: an entry", pProfile->GetEntry(0, &Entry) && g_IsSame(Entry.pszKey, L"Multiplier3") &&
                                       Entry.dValue == 11.5 && Entry.bIsNumber == 1);
    g_Check("profile 9: saved", g_Call<bool>(pProfile, 9));
    pProfile->Release();
    g_Check("profiles 0: applied", pProfiles->ApplySettings(L"./foreign.xml") && !pProfiles->ApplySettings(L""));
}

/// A test case that the library runs on its own threads and deletes in the end.
struct CForeignTestCase final : CTestCase {
    uint32_t GetKind() override { return 1234; }
    uint32_t Run(TestErrorCallback pReportError, TestResultCallback pReportResult) override {
        pReportResult(this, 0.25 * ++uRuns);
        pReportError(this, 77);
        return 1;
    }
    void Stop() override { bStopped = true; }
    void Destroy() override { bDestroyed = true; }

    volatile uint32_t uRuns = 0;
    volatile bool bStopped = false, bDestroyed = false;
};

void g_CheckTests(CTestCenter* pCenter, CForeignTestCase& rTestCase) {
    g_Check("tests 5: two for each core", g_Call<uint32_t>(pCenter, 5) == 8);
    g_Check("tests 3, 4: a host's own", g_Call<bool>(pCenter, 3, static_cast<CTestCase*>(&rTestCase), 2u, 1u) &&
                                            pCenter->FindTestCase(1234, 1) == &rTestCase);
    bool bOthersOff = true;
    for (int32_t nIndex = 0; nIndex < 8; ++nIndex) bOthersOff &= g_Call<bool>(pCenter, 6, nIndex, 0u);
    g_Check("tests 6: a number by index", bOthersOff && !pCenter->SetTestCaseRepeat(9, 0));
    g_Call<void>(pCenter, 9);
    while (g_Call<bool>(pCenter, 14)) {}
    g_Check("tests 9, 14: started, and two passes later at its end", rTestCase.uRuns == 2);
    const auto* const pError = g_Call<const TestError*>(pCenter, 11);
    g_Check("tests 11: an error",
            pError && pError->pTestCase == &rTestCase && pError->uCode == 77 && pError->uCore == 1);
    const TestResult* const pResult = pCenter->GetNextResult();
    g_Check("tests 12: the latest result", pResult && pResult->pTestCase == &rTestCase && pResult->dValue == 0.5);
    g_Check("tests 1: a pass here", g_Call<uint32_t>(pCenter, 1, static_cast<CTestCase*>(&rTestCase)) == 1);
    g_Call<void>(pCenter, 10);
    g_Check("tests 10: stopped and forgotten", rTestCase.bStopped && !pCenter->GetNextError());
}

/// Ends a search at its first clock, before that is set.
struct CForeignObserver final : CTuneObserver {
    explicit CForeignObserver(CSystemTune* pTune) : m_pTune(pTune) {}
    void OnPoint(const TunePoint* pPoint) override {
        if (pPoint->uState == kTuneBegins) dBegun = pPoint->dReferenceClock;
        if (pPoint->uState == kTuneBreaks) uDuration = pPoint->uDuration;
        m_pTune->Stop();
    }

    CSystemTune* m_pTune;
    volatile double dBegun = 0;
    volatile uint32_t uDuration = 0;
};

void g_CheckTuning(CSystemTune* pTune) {
    CForeignObserver Observer(pTune);
    g_Check("tuning 4: no search before", g_Call<int32_t>(pTune, 4) == kTuneNever);
    g_Call<void>(pTune, 9, static_cast<CTuneObserver*>(&Observer));
    g_Check("tuning 1: a search, ended by its observer", !g_Call<bool>(pTune, 1));
    g_Check("observer 0: the clock that was next", Observer.dBegun == 205 && Observer.uDuration == 120);
    g_Check("tuning 3, 5: stopped, where it began",
            g_Call<int32_t>(pTune, 3) == kTuneStopped && g_Call<double>(pTune, 5) == 200);
    g_Call<void>(pTune, 9, static_cast<CTuneObserver*>(nullptr));
    g_Check("tuning 8, 10: nothing wanted, an earlier clock forgotten",
            g_Call<bool>(pTune, 8, uint8_t{0}, uint8_t{1}, uint8_t{0}) && g_Call<bool>(pTune, 10));
}

}  // namespace

extern "C" void start() {
    void* const hLibrary = LoadLibraryA("VXTAPI.dll");
    if (!hLibrary) ExitProcess(2);
    decltype(&InitVXTAPI) pInit;
    decltype(&UnInitVXTAPI) pUnInit;
    decltype(&GetDeviceManager) pGetManager;
    decltype(&GetLog) pGetLog;
    decltype(&GetPerformanceControl) pGetControl;
    decltype(&GetProfileSettings) pGetProfiles;
    g_Find(hLibrary, "InitVXTAPI", pInit), g_Find(hLibrary, "UnInitVXTAPI", pUnInit);
    g_Find(hLibrary, "GetDeviceManager", pGetManager), g_Find(hLibrary, "GetLog", pGetLog);
    g_Find(hLibrary, "GetPerformanceControl", pGetControl), g_Find(hLibrary, "GetProfileSettings", pGetProfiles);

    CForeignTestCase TestCase;
    const bool bStarted = pInit(true);
    g_Check("the library starts", bStarted);
    CCPU* const pCpu = static_cast<CCPU*>(pGetManager()->GetDevice(kDeviceCpu, 2));
    if (bStarted && pCpu) {
        g_CheckManager(pGetManager(), pGetManager());
        g_CheckDevice(pCpu, pCpu);
        g_CheckCpu(pCpu, pCpu);
        g_CheckServices(pGetLog(), pGetLog(), pGetControl());
        g_CheckTests(pGetControl()->GetTestCenter(), TestCase);
        g_CheckTuning(pGetControl()->GetSystemTune());
        g_CheckProfiles(pGetProfiles());
        g_Check("core 2 follows the profile", pCpu->GetCurrentMultiplier() == 11.5);
    }
    g_Check("core 2 is there", pCpu);
    g_Check("the library ends", pUnInit());
    g_Check("and has deleted the host's test case", TestCase.bDestroyed);
    ExitProcess(s_nFailed != 0);
}
