#include "perf/system_tune.h"

#include <vxtapi/memory_controller.h>
#include <vxtapi/profile_keys.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cwchar>
#include <memory>
#include <new>

#include "api/log/log_checks.h"
#include "devices/chipset/firmware_units.h"
#include "perf/config_parser.h"
#include "platform/clock.h"
#include "platform/registry.h"
#include "platform/system.h"
#include "registers/no_throw.h"
#include "registers/scope_exit.h"

namespace vxt {

using vxtapi::CClockGenerator;
using vxtapi::CCPU;
using vxtapi::CMemoryController;

namespace {

constexpr const wchar_t* kRunOnceKey = L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\RunOnce";
constexpr const wchar_t* kRunOnceValue = L"VXT";
constexpr const wchar_t* kRunOnceArgument = L" AutoTune";
constexpr size_t kPathSize = 260;  ///< of the host's path, with the terminating zero

constexpr const wchar_t *kTuneSection = L"CPU", *kTuneElement = L"AutoTune", *kTuneStatus = L"LastTuneStatus";
constexpr const wchar_t *kTunedClock = L"CPUTune", *kTunedMultiplier = L"MultiplierTune";

constexpr double kFineStep = 1.0;     ///< MHz; a clock generator that goes by more is a coarse one
constexpr double kQuickStep = 5.0;    ///< MHz: towards the clock at which a search died, and away from one
constexpr double kSameClock = 0.001;  ///< MHz
constexpr double kTakenWithin = 0.5;  ///< MHz: no clock generator makes every one to the kHz
constexpr uint32_t kTestSeconds = 120, kSecondsForFailure = 60;
constexpr uint32_t kSecond = 1000, kMemorySettles = 2000;  // ms

int32_t g_Integer(const std::wstring& rsText) { return static_cast<int32_t>(std::wcstol(rsText.c_str(), nullptr, 10)); }

/// Legal clocks, MHz. False when they cannot be had; logged under the caller's name.
bool g_FetchList(CClockGenerator& rClkGen, std::vector<double>& rList,
                 const char* pszOperation = __builtin_FUNCTION()) {
    const auto LogClass = [] { return "CSystemTune"; };
    const auto LogFunction = [=](const char*) { return pszOperation; };
    uint32_t iCount = 0;
    bool bRetCode = rClkGen.GetExternalClockList(nullptr, iCount);
    LOG_PROCESS_ERROR(bRetCode);
    LOG_PROCESS_ERROR(iCount > 0);
    const bool pdVal = g_NoThrow([&] { rList.resize(iCount); });
    LOG_PROCESS_ERROR(pdVal);
    bRetCode = rClkGen.GetExternalClockList(rList.data(), iCount);
    LOG_PROCESS_ERROR(bRetCode);
    return true;
}

bool g_IsContinuous(CClockGenerator& rClkGen) {
    uint32_t uCount = 0;
    return !rClkGen.GetExternalClockList(nullptr, uCount);
}

}  // namespace

int32_t CSystemTune::GetLastTuneStatus() {
    std::wstring sText;
    return m_pConfig().ReadValue(kTuneSection, kTuneElement, kTuneStatus, sText) ? g_Integer(sText)
                                                                                 : vxtapi::kTuneNever;
}

bool CSystemTune::ForgetLastTune() {
    CClockGenerator* const pClkGen = _ClockGenerator();
    LOG_PROCESS_ERROR(pClkGen);
    const bool bRetCode = m_pConfig().Reload() &&
                          m_pConfig().WriteValue(pClkGen->GetTypeName(), pClkGen->GetName(), kTunedClock, 0.0, true);
    LOG_PROCESS_ERROR(bRetCode);
    return true;
}

bool CSystemTune::AutoTune(uint8_t bCPU, uint8_t bHTLink, uint8_t bMemory) {
    LOG_PROCESS_ERROR(!m_bRunning.exchange(true));
    const CScopeExit End([this] { m_bRunning = false; });
    m_bStop = false;
    m_pConfig().Reload();
    _SetRunOnceRegistry();  // kept: a search that will not survive is still one
    const CScopeExit Clear([this] { _ClearRunOnceRegistry(); });
    LOG_PROCESS_ERROR(!bCPU || TuneCPU(), "TuneCPU()");
    LOG_PROCESS_ERROR(!bHTLink || TuneHTLink(), "TuneHTLink()");
    LOG_PROCESS_ERROR(!bMemory || TuneMemory(), "TuneMemory()");
    return true;
}

// --- what survives the PC's death

bool CSystemTune::_SetRunOnceRegistry() {
    const platform::CRegistryKey hKey = platform::CreateUserKey(kRunOnceKey);
    LOG_PROCESS_ERROR(hKey, "lRet == ERROR_SUCCESS");
    std::array<wchar_t, kPathSize + std::char_traits<wchar_t>::length(kRunOnceArgument)> szCommand{};
    const uint32_t dwRet = platform::ExecutablePath(std::span(szCommand).first<kPathSize>());
    LOG_PROCESS_ERROR(dwRet != 0);
    std::copy_n(kRunOnceArgument, std::wcslen(kRunOnceArgument) + 1, szCommand.begin() + dwRet);
    const bool bRetCode = platform::SetRegistryText(hKey, kRunOnceValue, szCommand.data());
    LOG_PROCESS_ERROR(bRetCode, "lRet == ERROR_SUCCESS");
    return true;
}

bool CSystemTune::_ClearRunOnceRegistry() {
    const platform::CRegistryKey hKey = platform::OpenUserKeyToWrite(kRunOnceKey);
    LOG_PROCESS_ERROR(hKey, "lRet == ERROR_SUCCESS");
    const bool bRetCode = platform::DeleteRegistryValue(hKey, kRunOnceValue);
    LOG_PROCESS_ERROR(bRetCode, "lRet == ERROR_SUCCESS");
    return true;
}

void CSystemTune::_StoreClock(CClockGenerator& rClkGen) {
    for (const wchar_t* const pszKey : {kTunedClock, vxtapi::kProfileExternalClock}) {
        const bool bRetCode =
            m_pConfig().WriteValue(rClkGen.GetTypeName(), rClkGen.GetName(), pszKey, m_dReferenceClock, true);
        LOG_CHECK_ERROR(bRetCode);
    }
}

// --- the processor's clock

bool CSystemTune::TuneCPU() {
    m_bMultiplierRaised = m_bMultiplierEnds = m_bFailed = false;
    m_Point = {};
    const bool bFinished = _SearchCPU();
    m_nStatus = m_bStop ? vxtapi::kTuneStopped : m_bFailed ? vxtapi::kTuneFailed : vxtapi::kTuneFinished;
    const bool bRetCode = m_pConfig().WriteValue(kTuneSection, kTuneElement, kTuneStatus, m_nStatus, true);
    LOG_CHECK_ERROR(bRetCode);
    return bFinished;
}

bool CSystemTune::_SearchCPU() {
    const auto LogFunction = [](const char*) { return "TuneCPU"; };
    const std::unique_ptr<CQORBIOSHandler> pHandler(new (std::nothrow) CQORBIOSHandler);
    LOG_PROCESS_ERROR(pHandler);
    const CScopeExit Disconnect([&] { pHandler->Disconnect(); });
    LOG_PROCESS_ERROR(pHandler->Connect(kFirmwareNamespace), R"(pHandler->Connect(TEXT("root\\wmi")))");
    LOG_PROCESS_ERROR(pHandler->Init());
    CClockGenerator* const pClkGen = _ClockGenerator();
    LOG_PROCESS_ERROR(pClkGen);
    const bool bRetCode = pClkGen->GetClockLimits(CClockGenerator::kExternalClock, &m_Limits);
    LOG_PROCESS_ERROR(bRetCode);
    m_dReferenceClock = m_dProven = _ReadClock(*pHandler);
    m_nStatus = vxtapi::kTuneRunning;
    LOG_PROCESS_ERROR(m_dReferenceClock > 0.0);  // or the search would begin at 0 MHz
    CCPU* const pCPU = _Processor();
    LOG_PROCESS_ERROR(pCPU);
    if (pCPU->IsMultiplierLimited()) SetCPUMultiplier(pCPU->GetMaxMultiplier());
    m_dMultiplier = pCPU->GetCurrentMultiplier();
    if (!g_IsContinuous(*pClkGen)) return _WalkList(*pHandler, *pClkGen);
    LOG_PROCESS_ERROR(m_Limits.dMaximum > 0.0);  // or nobody knows where to end
    return m_Limits.dStep <= kFineStep ? _WalkFinely(*pHandler, *pClkGen) : _WalkUp(*pHandler, m_Limits.dStep);
}

bool CSystemTune::_WalkList(CQORBIOSHandler& rHandler, CClockGenerator& rClkGen) {
    std::vector<double> List;
    if (!g_FetchList(rClkGen, List, "TuneCPU")) return false;
    for (size_t i = 0; i < List.size() && !m_bFailed && !m_bStop; ++i) {
        if (!(List[i] > m_dReferenceClock)) continue;
        m_dReferenceClock = List[i];
        m_bFailed = SetFrequencyAndTest(&rHandler);
        if (!m_bMultiplierRaised) continue;
        m_bMultiplierRaised = false;
        i = 0;  // kept: the walk goes on at the second entry
    }
    return !m_bStop;  // kept: a list that ends with a failure counts as finished
}

bool CSystemTune::_WalkFinely(CQORBIOSHandler& rHandler, CClockGenerator& rClkGen) {
    std::wstring sText;
    const bool bResumes = m_pConfig().ReadValue(rClkGen.GetTypeName(), rClkGen.GetName(), kTunedClock, sText);
    const double dTarget = std::min<double>(bResumes ? g_Integer(sText) : 0, m_Limits.dMaximum);
    while (dTarget - m_dReferenceClock >= kQuickStep && !m_bMultiplierRaised)
        if (!_StepUp(rHandler, kQuickStep)) return false;
    return _WalkUp(rHandler, kFineStep);
}

// Kept: where the multiplier is free this has no end but that of the silicon.
bool CSystemTune::_WalkUp(CQORBIOSHandler& rHandler, double dStep) {
    while (m_dReferenceClock + dStep < m_Limits.dMaximum)
        if (!_StepUp(rHandler, dStep)) return false;
    return true;
}

bool CSystemTune::_StepUp(CQORBIOSHandler& rHandler, double dStep) {
    m_dReferenceClock = m_dReferenceClock + dStep;
    m_bFailed = SetFrequencyAndTest(&rHandler);
    return !m_bFailed && !m_bStop;
}

// --- one clock

bool CSystemTune::SetFrequencyAndTest(CQORBIOSHandler* pBIOSHandler) {
    LOG_PROCESS_ERROR(pBIOSHandler);
    CCPU* const pCPU = _Processor();
    LOG_PROCESS_ERROR(pCPU);
    CClockGenerator* const pClkGen = _ClockGenerator();
    LOG_PROCESS_ERROR(pClkGen);
    const bool bIsLocked = pCPU->IsMultiplierLimited();
    const double dMultiplierStep = pCPU->GetSecondCapability() ? 0.5 : 1.0;
    const auto nTestCases = static_cast<int32_t>(m_rTestCenter.GetTestCaseCount());
    for (int32_t nIndex = 0; nIndex < nTestCases; ++nIndex)
        m_rTestCenter.SetTestCaseRepeat(nIndex, vxtapi::kRepeatUntilStopped);
    const EVerdict eVerdict = _Test(*pBIOSHandler, *pClkGen);
    m_rTestCenter.Stop();
    if (eVerdict == EVerdict::kUnclear) {
        _GoBack(*pBIOSHandler);
        return true;
    }
    _StoreClock(*pClkGen);
    if (!m_bStop && !bIsLocked) _TradeForMultiplier(*pBIOSHandler, *pCPU, dMultiplierStep);
    return eVerdict == EVerdict::kFailed;
}

CSystemTune::EVerdict CSystemTune::_Test(CQORBIOSHandler& rHandler, CClockGenerator& rClkGen) {
    const auto LogFunction = [](const char*) { return "SetFrequencyAndTest"; };
    uint32_t uDuration = kTestSeconds;
    EVerdict eVerdict = EVerdict::kPassed;
    if (!_Begin(rHandler, uDuration)) return m_bStop ? eVerdict : EVerdict::kFailed;
    for (uint32_t uSeconds = 0; uSeconds < uDuration;) {
        platform::SleepWhileComputing(kSecond);
        ++uSeconds, ++m_Point.uSeconds;
        if (m_bStop) {
            _Observe(vxtapi::kTuneBreaks);
            return eVerdict;
        }
        const vxtapi::TestError* const pError = m_rTestCenter.GetNextError();
        const bool bTests = pError || m_rTestCenter.IsRunning();
        LOG_CHECK_ERROR(bTests);  // where no thread computes nothing is tested
        if (bTests && !pError) {
            _Observe(vxtapi::kTuneTests);
            continue;
        }
        eVerdict = EVerdict::kFailed;
        _Observe(vxtapi::kTuneFails, pError);
        m_rTestCenter.Stop();
        if (!bTests) return EVerdict::kUnclear;
        if (g_IsContinuous(rClkGen)) {
            if (m_dReferenceClock - kFineStep < m_Limits.dMinimum) return EVerdict::kUnclear;
            m_dReferenceClock = m_dReferenceClock - kFineStep;
            uDuration += kSecondsForFailure, uSeconds = 0;
        } else {
            std::vector<double> List;
            if (!g_FetchList(rClkGen, List, "SetFrequencyAndTest")) return EVerdict::kUnclear;
            const auto IsNow = [this](double d) { return std::abs(d - m_dReferenceClock) < kSameClock; };
            const auto i = std::ranges::find_if(List, IsNow) - List.begin(), iCount = std::ssize(List);
            LOG_PROCESS_ERROR_OR(EVerdict::kUnclear, i < iCount);
            if (i > 0) return _GoTo(rHandler, List[static_cast<size_t>(i) - 1]) ? eVerdict : EVerdict::kUnclear;
            if (uSeconds == uDuration) return eVerdict;  // kept: at the lowest clock the test goes on for what is left
        }
        if (!_Begin(rHandler, uDuration - uSeconds)) return eVerdict;
    }
    m_dProven = m_dReferenceClock;
    _Observe(vxtapi::kTunePassed);
    return eVerdict;
}

bool CSystemTune::_Begin(CQORBIOSHandler& rHandler, uint32_t uDuration) {
    const auto LogFunction = [](const char*) { return "SetFrequencyAndTest"; };
    ++m_Point.uNumber, m_Point.uSeconds = 0, m_Point.uDuration = uDuration;
    _Observe(vxtapi::kTuneBegins);
    if (!m_bStop) {
        const bool bRetCode = _SetClock(rHandler);
        LOG_CHECK_ERROR(bRetCode);
        if (bRetCode) {
            m_rTestCenter.Start();
            return true;
        }
    }
    _Observe(m_bStop ? vxtapi::kTuneBreaks : vxtapi::kTuneFails);
    _GoBack(rHandler);
    return false;
}

// Away from a high clock by small steps: the clock generator has to stay locked meanwhile.
void CSystemTune::_TradeForMultiplier(CQORBIOSHandler& rHandler, CCPU& rCPU, double dMultiplierStep) {
    const double dBase = m_Limits.dDefault, dGain = m_dReferenceClock - dBase;
    if (m_bMultiplierEnds || !(dBase > 0.0) || !(dBase * dMultiplierStep < dGain * m_dMultiplier)) return;
    for (double dClock = m_dReferenceClock; dClock - dBase > kQuickStep;) {
        _GoTo(rHandler, dClock -= kQuickStep);  // what is in no list is left out
        platform::SleepWhileComputing(kSecond);
    }
    m_bMultiplierEnds = !_GoTo(rHandler, dBase);
    if (m_bMultiplierEnds) return;
    platform::SleepWhileComputing(kSecond);
    m_dProven = dBase;
    const double dOld = m_dMultiplier, dWanted = dOld + dMultiplierStep;
    SetCPUMultiplier(dWanted);
    const double dNow = rCPU.GetCurrentMultiplier();
    m_dMultiplier = dNow > 0.0 ? dNow : dWanted;  // where it cannot be read the walk begins anew: nothing is proven
    m_bMultiplierRaised = m_dMultiplier > dOld;
    m_bMultiplierEnds = !m_bMultiplierRaised;
}

double CSystemTune::_ReadClock(CQORBIOSHandler& rHandler) {
    return rHandler.GetValue(kExternalClockObject) / kFirmwareUnits;
}

bool CSystemTune::_SetClock(CQORBIOSHandler& rHandler) {
    return rHandler.SetValue(kExternalClockObject, g_ToFirmware(m_dReferenceClock)) &&
           std::abs(_ReadClock(rHandler) - m_dReferenceClock) < kTakenWithin;
}

bool CSystemTune::_GoTo(CQORBIOSHandler& rHandler, double dClock) {
    const auto LogFunction = [](const char*) { return "SetFrequencyAndTest"; };
    m_dReferenceClock = dClock;
    _Observe(vxtapi::kTuneSets);
    const bool bRetCode = _SetClock(rHandler);
    if (const double dNow = bRetCode ? 0.0 : _ReadClock(rHandler); dNow > 0.0) m_dReferenceClock = dNow;
    LOG_PROCESS_ERROR(bRetCode);
    return true;
}

void CSystemTune::_Observe(vxtapi::eTuneState eState, const vxtapi::TestError* pError) {
    if (!m_pObserver) return;
    m_Point.uState = eState;
    m_Point.dReferenceClock = m_dReferenceClock;
    m_Point.dMultiplier = m_dMultiplier;
    m_Point.pError = pError;
    m_pObserver->OnPoint(&m_Point);
}

bool CSystemTune::SetCPUMultiplier(double dMultiplier) {
    const uint32_t uCount = m_rDevices.GetDeviceCount(vxtapi::kDeviceCpu);
    CCPU* pCPU = nullptr;
    for (uint32_t uIndex = 0; uIndex < uCount; ++uIndex) {
        pCPU = _Device<CCPU>(vxtapi::kDeviceCpu, uIndex);
        LOG_PROCESS_ERROR(pCPU);
        const bool bRetCode = pCPU->SetCurrentMultiplier(dMultiplier);
        LOG_PROCESS_ERROR(bRetCode);
    }
    LOG_PROCESS_ERROR(pCPU);
    const bool bRetCode =
        m_pConfig().WriteValue(pCPU->GetTypeName(), pCPU->GetName(), kTunedMultiplier, dMultiplier, true);
    LOG_CHECK_ERROR(bRetCode);
    return true;
}

// --- the memory's clock

bool CSystemTune::TuneMemory() {
    CScopeExit Missing([this] { m_nStatus = vxtapi::kTuneFinished; });  // kept, though nothing was tuned
    CCPU* const pCPU = _Processor();
    LOG_PROCESS_ERROR(pCPU);
    platform::SleepWhileComputing(kMemorySettles);
    CMemoryController* const pMC = _Device<CMemoryController>(vxtapi::kDeviceMemoryController);
    LOG_PROCESS_ERROR(pMC);
    Missing.Dismiss();
    std::array<double, 64> adClocks{};
    uint32_t uCount = adClocks.size();
    const bool bRetCode = pMC->GetMemClkList(adClocks.data(), uCount);
    LOG_PROCESS_ERROR(bRetCode);
    for (const double dClock : std::span(adClocks).first(uCount)) {
        if (dClock == -1.0 || m_bStop) break;
        if (!(dClock > m_dMemoryClock)) continue;
        ResetMemory(dClock, true);
        platform::SleepWhileComputing(kMemorySettles);
    }
    return true;
}

bool CSystemTune::ResetMemory(double dMemoryClock, bool bApply) {
    constexpr uint32_t kDdr = 7, kDdr2 = 8;  // JEDEC
    constexpr double kDdrClock = 100.0;
    CMemoryController* const pMC = _Device<CMemoryController>(vxtapi::kDeviceMemoryController);
    if (!pMC) return false;
    vxtapi::MemConfig Config{};
    bool bRetCode = pMC->GetMemConfig(&Config);
    LOG_PROCESS_ERROR(bRetCode);
    const uint32_t uType = pMC->GetMemoryType();
    if (uType == kDdr2) Config.dMemoryClock = dMemoryClock;
    if (uType == kDdr) Config.dMemoryClock = kDdrClock;  // kept: its controllers start again from there
    Config.bApply = bApply;
    bRetCode = pMC->SetMemConfig(&Config);
    LOG_PROCESS_ERROR(bRetCode);
    m_dMemoryClock = dMemoryClock;
    return true;
}

}  // namespace vxt
