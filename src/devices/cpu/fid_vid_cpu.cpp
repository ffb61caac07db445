#include "devices/cpu/fid_vid_cpu.h"

#include <algorithm>

#include "api/log/log_checks.h"

namespace vxt {

using namespace cpu;

namespace {

constexpr double kUnlimitedMultiplier = 25.0;
constexpr uint32_t kStopGrantShort = 1;
constexpr uint32_t kDiodeOffset = 49;      ///< degrees C below zero that the sensor's count begins at
constexpr uint32_t kFirstOtherSensor = 6;  ///< extended model from which the register reads otherwise

}  // namespace

bool CFidVidCPU::_GetFVInfo() {
    if (!_EnterCore()) return false;
    CMsrWords Status{};
    const bool bRetCode = _ReadMsr(kFidVidStatusMsr, Status);
    LOG_PROCESS_ERROR(bRetCode);
    const auto Volts = [&Status](const CRegisterField& rField) { return g_DecodeField(rField, kFidVidTable, Status); };
    m_bMultiplierLimited = kMaxFid.Get(Status) != kUnlimitedFid;
    m_FvInfo = {};
    m_FvInfo.dStartMultiplier = g_DecodeField(kStartFid, kFidTable, Status);
    m_FvInfo.dMaxMultiplier = m_bMultiplierLimited ? g_DecodeField(kMaxFid, kFidTable, Status) : kUnlimitedMultiplier;
    m_FvInfo.dStartVoltage = Volts(kStartVid);
    m_FvInfo.dMinVoltage = Volts(m_FourthVid);
    m_FvInfo.dMaxVoltage = Volts(kMaxVid);
    m_FvInfo.dMaxRampVoltage = Volts(kMaxRampVid);
    return true;
}

double CFidVidCPU::GetCurrentMultiplier() {
    if (!_EnterCore()) return 0.0;
    CMsrWords Status{};
    const bool bRetCode = _ReadMsr(kFidVidStatusMsr, Status);
    LOG_PROCESS_ERROR(bRetCode);
    return g_DecodeField(kFid, kFidTable, Status);
}

bool CFidVidCPU::SetCurrentMultiplier(double dMultiplier) {
    if (!_EnterCore()) return false;
    CMsrWords Control{};
    const bool bRetCode = _ReadMsr(kFidVidControlMsr, Control);
    LOG_PROCESS_ERROR(bRetCode);
    CMsrWords Wanted = Control;
    g_EncodeField(kFid, kFidTable, Wanted, dMultiplier, kFidTolerance);  // Kept: written also when nothing matches
    const char* const pszFailed = _StartTransition(Control, Wanted);
    LOG_PROCESS_ERROR(!pszFailed, pszFailed);
    return true;
}

const char* CFidVidCPU::_StartTransition(const CMsrWords&, CMsrWords Wanted) {
    kInitiateChange.Set(Wanted, 1);
    if (m_rRules.bWaits) kStopGrantCount.Set(Wanted, kStopGrantShort);
    if (!_WriteMsr(kFidVidControlMsr, Wanted)) return "bRetCode";
    CMsrWords Status{};
    while (m_rRules.bWaits) {  // Kept: no limit, no sleep
        if (!_ReadMsr(kFidVidStatusMsr, Status)) return "bRetCode";
        if (kChangePending.Get(Status) == 0) break;
    }
    return nullptr;
}

const void* CCorvel64CPU::GetThermTrip() {
    uint32_t uRegister = 0;
    const bool bRetCode = m_Misc.Read(kThermTripRegister, uRegister);
    LOG_PROCESS_ERROR(bRetCode);
    const int32_t nOffset = static_cast<int32_t>(kThermOffset.Get(uRegister));
    m_nThermTrip = kThermOffsetSign.Get(uRegister) ? -nOffset : nOffset;
    return &m_nThermTrip;
}

bool CCorvel64X2CPU::Init(uint32_t uIndex) {
    m_bHalfSteps = platform::Cpuid(kCpuidPower).uEdx & kHalfSteps;
    return CFidVidCPU::Init(uIndex);
}

const void* CCorvel64X2CPU::GetThermTrip() {
    std::ranges::fill(m_adThermal, 0.0);
    uint32_t uRegister = 0;
    bool bRetCode = m_Misc.Read(kThermTripRegister, uRegister);
    LOG_PROCESS_ERROR(bRetCode);
    uRegister = kThermSensorSelect.Set(kThermCoreSelect.Set(uRegister, m_uIndex), 0);
    bRetCode = m_Misc.Write(kThermTripRegister, uRegister) && m_Misc.Read(kThermTripRegister, uRegister);
    LOG_PROCESS_ERROR(bRetCode);
    // Kept: below the offset the unsigned difference wraps to a huge temperature.
    if (m_uExtendedModel < kFirstOtherSensor) m_adThermal[0] = kThermReading.Get(uRegister) - kDiodeOffset;
    return m_adThermal;
}

}  // namespace vxt
