#include "devices/cpu/family_cpu.h"

#include <cwchar>

#include "api/log/log_checks.h"
#include "platform/thread.h"

namespace vxt {

using namespace cpu;
using platform::Cpuid;

namespace {
constexpr double kNominalReference = 200e6;  ///< Hz
}  // namespace

bool CFamilyCPU::Init(uint32_t uIndex) {
    bool bRetCode = _CheckCpuid();
    LOG_PROCESS_ERROR(bRetCode);
    _ReadVendor();
    LOG_PROCESS_ERROR(std::wcsncmp(m_szVendor.data(), kMakerVendor, kTextSize) == 0,
                      "wcsncmp(m_szVendor, QOR_VENDOR_STRING, MAX_STRING_LEN) == 0");
    m_uIndex = uIndex;
    LOG_PROCESS_ERROR(m_uIndex < _GetProcessorCount());
    bRetCode = _ReadBrand();
    LOG_PROCESS_ERROR(bRetCode);
    _ReadSignature();
    _ReadFeatures();
    _ReadCaches();
    bRetCode = _GetFVInfo();
    LOG_PROCESS_ERROR(bRetCode);
    bRetCode = _CheckTSC();
    LOG_PROCESS_ERROR(bRetCode);
    bRetCode = CCPU::Init(uIndex);  // last: what it maps stays mapped until UnInit
    LOG_PROCESS_ERROR(bRetCode);
    m_dNominalFrequency = GetMaxMultiplier() * kNominalReference;
    return true;
}

bool CFamilyCPU::_CheckCpuid() const {
    const char* const pszFailed = m_rRules.rFamily.FailedCheck(g_IdentifyProcessor(), m_rRules.rFamily.pszFamilyCheck);
    LOG_PROCESS_ERROR(!pszFailed, pszFailed);
    LOG_PROCESS_ERROR(Cpuid(kCpuidVendor).uEax >= m_rRules.uStandardLeaf, "nStandardCount >= MAX_STANDARD_CPUID");
    LOG_PROCESS_ERROR(Cpuid(kCpuidExtended).uEax >= m_rRules.uExtendedLeaf, "nExtendedCount >= MAX_EXTENDED_CPUID");
    return true;
}

bool CFamilyCPU::_CheckFVID() const { return (Cpuid(kCpuidPower).uEdx & m_rRules.uGate) == m_rRules.uGate; }

bool CFamilyCPU::_EnterCore() const { return _PinThread() && _CheckFVID(); }

bool CFamilyCPU::_PinThread() const {
    const bool bRetCode = platform::SetThreadAffinity(1u << m_uIndex % 32);
    LOG_PROCESS_ERROR(bRetCode);  // another core's registers would be worse than none
    return true;
}

double CFamilyCPU::GetCurrentVoltage() {
    if (!_EnterCore()) return 0.0;
    CMsrWords Status{};
    const bool bRetCode = _ReadMsr(m_rRules.rVid.uStatusMsr, Status);
    LOG_PROCESS_ERROR(bRetCode);
    return g_DecodeField(m_rRules.rVid.StatusVid, m_rRules.rVid.Volts, Status);
}

bool CFamilyCPU::SetCurrentVoltage(double dVoltage) {
    if (!_EnterCore()) return false;
    const char* const pszFailed = _RequestVoltage(m_rRules.ControlVid, dVoltage);
    LOG_PROCESS_ERROR(!pszFailed, pszFailed);
    return true;
}

const char* CFamilyCPU::_RequestVoltage(const CRegisterField& rVid, double dVoltage) {
    CMsrWords Control{};
    if (!_ReadMsr(m_rRules.rVid.uControlMsr, Control)) return "bRetCode";
    CMsrWords Wanted = Control;
    const std::optional<uint32_t> oVid = m_rRules.rVid.Volts.Encode(dVoltage, m_rRules.rVid.dTolerance);
    // Kept: a value that is not in the table changes nothing, and is written all the same. 0 V, the code that switches
    // off, is never asked for.
    if (oVid && m_rRules.rVid.Volts.Decode(*oVid) > 0.0) rVid.Set(Wanted, *oVid);
    return _StartTransition(Control, Wanted);
}

bool CFamilyCPU::_ReadMsr(uint32_t uIndex, CMsrWords& rWords) const {
    return m_rDriver.RDMSR(uIndex, rWords[0], rWords[1]);
}

bool CFamilyCPU::_WriteMsr(uint32_t uIndex, const CMsrWords& rWords) const {
    return m_rDriver.WRMSR(uIndex, rWords[0], rWords[1]);
}

}  // namespace vxt
