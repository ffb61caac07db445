#include "perf/profile_settings.h"

#include <vxtapi/clock_generator.h>
#include <vxtapi/cpu.h>
#include <vxtapi/graphics_processor.h>
#include <vxtapi/ht_link.h>
#include <vxtapi/profile_keys.h>
#include <vxtapi/voltage_controller.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <cwchar>
#include <iterator>
#include <memory>
#include <new>
#include <optional>
#include <span>
#include <string>

#include "api/log/log.h"
#include "api/log/log_checks.h"
#include "perf/config_parser.h"
#include "perf/number_text.h"
#include "perf/profile_file.h"

namespace vxt {

using namespace vxtapi;  // the devices' interfaces; NOLINT(google-build-using-namespace)

namespace {

/// A name for the log, cut and in ASCII: names of the firmware may hold anything.
struct CLogText {
    char sz[64] = {};
    explicit CLogText(const wchar_t* psz) {
        for (char& r : std::span(sz).first(sizeof sz - 1)) {
            if (*psz == 0) break;
            r = *psz >= ' ' && *psz < 0x7F ? static_cast<char>(*psz) : '?';
            ++psz;
        }
    }
};

/// One walk over the devices, in the order of its steps. What fails is logged and the walk goes on.
class CProfileWalk {
public:
    CProfileWalk(vxtapi::CDeviceManager& rDevices, const CConfigParser& rProfile)
        : m_rDevices(rDevices), m_rProfile(rProfile) {}

    void Run() {
        _ApplySwitches();
        _ApplyCores();
        _ApplyLink();
        _ApplyClocks();
        _ApplyGraphics();
        _ApplyOwnVoltages();
        _ApplyVoltages();
        _ApplyMemory();
    }

private:
    static constexpr const char* LogClass() { return "CProfileSettgins"; }
    static constexpr const char* LogFunction(const char*) { return "ApplySettings"; }

    void _ApplySwitches();
    void _ApplyCores();
    void _ApplyLink();
    void _ApplyClocks();
    void _ApplyGraphics();
    void _ApplyOwnVoltages();
    void _ApplyVoltages();
    void _ApplyMemory();
    bool _ReadTiming(CMemoryController& rMemory, MemTiming& rTiming);
    bool _WriteTiming(CMemoryController& rMemory, const MemTiming& rTiming);

    template <class TDevice> TDevice* _Device(eDeviceType eType, uint32_t uIndex) {
        return static_cast<TDevice*>(m_rDevices.GetDevice(eType, uIndex));
    }
    std::optional<double> _Value(const wchar_t* pszSection, CDevice& rDevice, const wchar_t* pszKey) const;
    template <size_t uCount> using CValues = std::array<std::optional<double>, uCount>;
    /// What the profile has of a record.
    template <size_t uCount> CValues<uCount> _Values(const ProfileField (&aFields)[uCount], CDevice& rDevice) const;
    template <class TRecord, size_t uCount>
    static void _Put(TRecord& rRecord, const ProfileField (&aFields)[uCount], const CValues<uCount>& rValues);

    vxtapi::CDeviceManager& m_rDevices;
    const CConfigParser& m_rProfile;
};

std::optional<double> CProfileWalk::_Value(const wchar_t* pszSection, CDevice& rDevice, const wchar_t* pszKey) const {
    std::wstring sText;
    if (!m_rProfile.ReadValue(pszSection, rDevice.GetName(), pszKey, sText)) return std::nullopt;
    const std::optional<double> oNumber = g_ParseNumber(sText);
    if (!oNumber)
        g_GetLog().WriteLog(kLogError, "The profile's %s of %s is no number.", CLogText(pszKey).sz,
                            CLogText(rDevice.GetName()).sz);
    return oNumber;
}

template <size_t uCount>
CProfileWalk::CValues<uCount> CProfileWalk::_Values(const ProfileField (&aFields)[uCount], CDevice& rDevice) const {
    CValues<uCount> Values;
    std::ranges::transform(aFields, Values.begin(), [&](const ProfileField& rField) {
        return _Value(rDevice.GetTypeName(), rDevice, rField.pszKey);
    });
    return Values;
}

template <class TRecord, size_t uCount>
void CProfileWalk::_Put(TRecord& rRecord, const ProfileField (&aFields)[uCount], const CValues<uCount>& rValues) {
    for (size_t i = 0; i < uCount; ++i) {
        if (!rValues[i]) continue;
        auto* const pPlace = reinterpret_cast<std::byte*>(&rRecord) + aFields[i].uOffset;
        if (aFields[i].bIsFlag)
            *pPlace = std::byte(*rValues[i] != 0.0);
        else
            std::memcpy(pPlace, &*rValues[i], sizeof(double));
    }
}

void CProfileWalk::_ApplySwitches() {
    const uint32_t uCount = m_rDevices.GetDeviceCount(kDeviceCpu);
    for (uint32_t uIndex = 0; uIndex < uCount; ++uIndex) {
        CCPU* const pCPU = _Device<CCPU>(kDeviceCpu, uIndex);
        LOG_CHECK_ERROR(pCPU);
        if (!pCPU) continue;
        const std::optional<double> oDivisor = _Value(kProfileCpuSection, *pCPU, kProfileClockDivisor);
        const std::optional<double> oCaching = _Value(kProfileCpuSection, *pCPU, kProfileTlbCaching);
        if (!oDivisor && !oCaching) continue;
        const bool bRetCode = pCPU->SetBoostState(oDivisor == 1.0, oCaching == 1.0);
        LOG_CHECK_ERROR(bRetCode);
    }
}

// The voltages are core 0's for every core, each written after the core's multiplier.
void CProfileWalk::_ApplyCores() {
    double dCpuVid = 0.0, dNbVid = 0.0;
    for (uint32_t uIndex = 0; uIndex < std::size(kProfileMultipliers); ++uIndex) {
        CCPU* const pCPU = _Device<CCPU>(kDeviceCpu, uIndex);
        LOG_CHECK_ERROR(pCPU);
        if (!pCPU) continue;
        if (uIndex == 0) {
            dCpuVid = _Value(kProfileCpuSection, *pCPU, kProfileCpuVoltage).value_or(0.0);
            dNbVid = _Value(kProfileCpuSection, *pCPU, kProfileNbVoltage).value_or(0.0);
        }
        const auto oMultiplier = _Value(kProfileCpuSection, *pCPU, kProfileMultipliers[uIndex]);
        bool bRetCode = !oMultiplier || pCPU->SetCurrentMultiplier(*oMultiplier);
        LOG_CHECK_ERROR(bRetCode);
        bRetCode = !(dCpuVid > 0.0) || pCPU->SetCurrentVoltage(dCpuVid);
        LOG_CHECK_ERROR(bRetCode);
        bRetCode = !(dNbVid > 0.0) || pCPU->SetCurrentNBVoltage(dNbVid);
        LOG_CHECK_ERROR(bRetCode);
    }
}

void CProfileWalk::_ApplyLink() {
    CHTLink* const pHTLink = _Device<CHTLink>(kDeviceHtLink, 0);
    LOG_CHECK_ERROR(pHTLink);
    if (!pHTLink) return;
    const std::optional<double> oMultiplier = _Value(kProfileLinkSection, *pHTLink, kProfileLinkMultiplier);
    if (!oMultiplier) return;
    HTConfig Config{};
    bool bRetCode = pHTLink->GetHTConfig(0, &Config);
    LOG_CHECK_ERROR(bRetCode);
    Config.dFrequency = *oMultiplier;
    bRetCode = pHTLink->SetHTConfig(0, &Config);  // Kept: also after a failed read
    LOG_CHECK_ERROR(bRetCode);
}

void CProfileWalk::_ApplyClocks() {
    CClockGenerator* const pClockGen = _Device<CClockGenerator>(kDeviceClockGen, 0);
    LOG_CHECK_ERROR(pClockGen);
    if (!pClockGen) return;
    const auto Value = [&](const wchar_t* pszKey) { return _Value(pClockGen->GetTypeName(), *pClockGen, pszKey); };
    const std::optional<double> oExternal = Value(kProfileExternalClock), oPCIe = Value(kProfilePCIeClock);
    bool bRetCode = !oExternal || pClockGen->SetExternalClock(*oExternal);
    LOG_CHECK_ERROR(bRetCode);
    bRetCode = !oPCIe || pClockGen->SetPCIeClock(*oPCIe);
    LOG_CHECK_ERROR(bRetCode);
}

void CProfileWalk::_ApplyGraphics() {
    CGraphicsProcessor* const pGPU = _Device<CGraphicsProcessor>(kDeviceGpu, 0);
    LOG_CHECK_ERROR(pGPU);
    if (!pGPU || !pGPU->IsIntegrated()) return;
    const std::optional<double> oClock = _Value(pGPU->GetTypeName(), *pGPU, kProfileEngineClock);
    const bool bRetCode = !oClock || pGPU->SetEngineClock(*oClock);
    LOG_CHECK_ERROR(bRetCode);
}

void CProfileWalk::_ApplyOwnVoltages() {
    CVoltageController* const pCustomerPWM = _Device<CVoltageController>(kDeviceCustomerPwm, 0);
    LOG_CHECK_ERROR(pCustomerPWM);
    if (!pCustomerPWM) return;
    const auto nCount = static_cast<int32_t>(pCustomerPWM->GetVoltageCount());
    for (int32_t nIndex = 0; nIndex < nCount; ++nIndex) {
        const auto oVolts = _Value(pCustomerPWM->GetTypeName(), *pCustomerPWM, pCustomerPWM->GetVoltageName(nIndex));
        const bool bRetCode = !oVolts || pCustomerPWM->SetVoltage(nIndex, *oVolts);
        LOG_CHECK_ERROR(bRetCode);
    }
}

void CProfileWalk::_ApplyVoltages() {
    CVoltageController* const pPWM = _Device<CVoltageController>(kDeviceDefaultPwm, 0);
    LOG_CHECK_ERROR(pPWM);
    if (!pPWM) return;
    const auto nCount = static_cast<int32_t>(pPWM->GetVoltageCount());
    for (const wchar_t* const pszKey : kProfileVoltages) {
        const std::optional<double> oVolts = _Value(pPWM->GetTypeName(), *pPWM, pszKey);
        if (!oVolts) continue;
        int32_t nIndex = 0;
        while (nIndex < nCount && std::wcscmp(pPWM->GetVoltageName(nIndex), pszKey) != 0) ++nIndex;
        const bool bRetCode = nIndex < nCount && pPWM->SetVoltage(nIndex, *oVolts);  // not every board has each
        LOG_CHECK_ERROR(bRetCode);
    }
}

// What the profile has nothing of is neither written back nor read: where several codes mean one value writing changes bits,
// and the configuration is read through index registers.
void CProfileWalk::_ApplyMemory() {
    CMemoryController* const pMC = _Device<CMemoryController>(kDeviceMemoryController, 0);
    LOG_CHECK_ERROR(pMC);
    if (!pMC) return;
    const auto IsThere = [](const std::optional<double>& r) { return r.has_value(); };
    if (const auto Values = _Values(kProfileTimings, *pMC); std::ranges::any_of(Values, IsThere)) {
        MemTiming Timing{};
        if (!_ReadTiming(*pMC, Timing)) return;
        _Put(Timing, kProfileTimings, Values);
        _WriteTiming(*pMC, Timing);  // a failure stops nothing
    }
    if (const auto Values = _Values(kProfileConfiguration, *pMC); std::ranges::any_of(Values, IsThere)) {
        MemConfig Config{};
        bool bRetCode = pMC->GetMemConfig(&Config);
        LOG_CHECK_ERROR(bRetCode);
        if (!bRetCode) return;
        _Put(Config, kProfileConfiguration, Values);
        bRetCode = pMC->SetMemConfig(&Config);
        LOG_CHECK_ERROR(bRetCode);
    }
}

bool CProfileWalk::_ReadTiming(CMemoryController& rMemory, MemTiming& rTiming) {
    const bool bRetCode = rMemory.GetMemTiming(&rTiming);
    LOG_PROCESS_ERROR(bRetCode);
    return true;
}

bool CProfileWalk::_WriteTiming(CMemoryController& rMemory, const MemTiming& rTiming) {
    const bool bRetCode = rMemory.SetMemTiming(&rTiming);
    LOG_PROCESS_ERROR(bRetCode);
    return true;
}

}  // namespace

bool CProfileSettgins::ApplySettings(const wchar_t* pszPath) {
    if (!pszPath || *pszPath == 0) return false;
    const CConfigParser Profile(pszPath);
    CProfileWalk(m_rDevices, Profile).Run();
    return true;
}

vxtapi::CProfile* CProfileSettgins::OpenProfile(const wchar_t* pszPath) {
    if (!pszPath || *pszPath == 0) return nullptr;
    std::unique_ptr<CProfileFile> pProfile(new (std::nothrow) CProfileFile(pszPath));
    LOG_PROCESS_ERROR(pProfile && pProfile->IsUsable(), "pProfile");
    return pProfile.release();
}

}  // namespace vxt
