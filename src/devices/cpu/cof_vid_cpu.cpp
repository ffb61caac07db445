#include "devices/cpu/cof_vid_cpu.h"

#include <algorithm>
#include <cmath>

#include "api/log/log_checks.h"
#include "platform/clock.h"

namespace vxt {

using namespace cpu;
using vxtapi::CPstate;

namespace {

constexpr int kPollLimit = 1'000;
constexpr uint32_t kPollInterval = 1;       ///< ms
constexpr double kStep = 0.5;               ///< multiplier per 100 MHz
constexpr double kTemperatureStep = 0.125;  ///< degrees C
constexpr uint32_t kCoreStep = 100;         ///< MHz
constexpr double kReference = 200.0;        ///< MHz
constexpr uint32_t kNbFidOffset = 4;
constexpr double kFidLimit = 0x2F, kMaxDid = 4;  ///< family 10h: first FID too high, last divisor

// Temperature sensor interface (SB-TSI): whole degrees, and eighths in the top bits of the second register
constexpr uint8_t kSbTsiAddress = 0x98, kSMBusRead = 1, kSbTsiWhole = 0x01, kSbTsiFraction = 0x10;
constexpr CBitField kSbTsiEighths(7, 5);

/// Whole part, as a conversion of the processor does it; what does not fit an int32_t gives no bits.
uint32_t g_Truncate(double dValue) {
    return dValue > -2147483649.0 && dValue < 2147483648.0 ? static_cast<uint32_t>(static_cast<int32_t>(dValue)) : 0;
}

}  // namespace

// --- both families ---

double CCofVidCPU::_Multiplier(const CMsrWords& rWords) const {
    return static_cast<double>(kFid.Get(rWords) + m_rRules.uFidOffset) / (1u << kDid.Get(rWords)) * kStep;
}

double CCofVidCPU::_VoltageLimit(const CRegisterField& rVid, const CMsrWords& rStatus) {
    return rVid.Get(rStatus) ? g_DecodeField(rVid, kCofVidTable, rStatus) : 0.0;
}

double CCofVidCPU::GetCurrentMultiplier() {
    if (!_EnterCore()) return 0.0;
    CMsrWords Status{};
    const bool bRetCode = _ReadMsr(kCofVidStatusMsr, Status);
    LOG_PROCESS_ERROR(bRetCode);
    return _Multiplier(Status);
}

// The hardware acts when the P-state number changes: move to a neighbour, then back with the new values.
const char* CCofVidCPU::_StartTransition(const CMsrWords& rNow, CMsrWords Wanted) {
    const uint32_t uPstate = kPstateId.Get(rNow);
    CMsrWords Neighbour = rNow;
    kPstateId.Set(Neighbour, uPstate == 0 ? 1 : uPstate - 1);
    const char* const pszFailed = _WriteAndWait(Neighbour);
    return pszFailed ? pszFailed : _WriteAndWait(Wanted);
}

const char* CCofVidCPU::_WriteAndWait(const CMsrWords& rControl) const {
    if (!_WriteMsr(kCofVidControlMsr, rControl)) return "bRetCode";
    if (!m_rRules.bWaits) return nullptr;
    for (int nCounter = 0; nCounter < kPollLimit; ++nCounter) {
        CMsrWords Status{};
        if (!_ReadMsr(kCofVidStatusMsr, Status)) return "bRetCode";
        platform::Sleep(kPollInterval);
        if (kPstateId.Get(Status) == kPstateId.Get(rControl)) return nullptr;
    }
    return "nCounter < 1000";
}

const void* CCofVidCPU::GetThermTrip() {
    if (!_PinThread()) return nullptr;
    uint32_t uRegister = 0;
    const bool bRetCode = m_Misc.Read(kReportedTemperatureRegister, uRegister);
    LOG_PROCESS_ERROR(bRetCode);
    m_dTemperature = kReportedTemperature.Get(uRegister) * kTemperatureStep;
    return &m_dTemperature;
}

const char* CCofVidCPU::_CheckStateIndex(uint32_t uStateIndex) const {
    CMsrWords Limit{};
    if (!_ReadMsr(kPstateLimitMsr, Limit)) return "bRetCode";
    return uStateIndex <= kPstateMaxVal.Get(Limit) ? nullptr : "uStateIndex <= PstateLimitReg.m_sReg.PstateMaxVal";
}

bool CCofVidCPU::GetPstate(uint32_t uStateIndex, CPstate* pPstate) {
    LOG_PROCESS_ERROR(pPstate);
    if (!_PinThread()) return false;
    const char* const pszFailed = _CheckStateIndex(uStateIndex);
    LOG_PROCESS_ERROR(!pszFailed, pszFailed);
    CMsrWords Definition{};
    const bool bRetCode = _ReadMsr(kPstateMsr + uStateIndex, Definition);
    LOG_PROCESS_ERROR(bRetCode);
    *pPstate = {};
    for (const CPstateRow& rRow : kPstateRows) rRow.Number.In(*pPstate) = rRow.Field.Get(Definition);
    pPstate->bPstateEn = pPstate->dPstateEn != 0.0;
    // Kept: the clock is cut to whole 100 MHz, so FID 13 with DID 2 reads 700, not 725.
    pPstate->dCoreFrequency = ((kFid.Get(Definition) + m_rRules.uFidOffset) >> kDid.Get(Definition)) * kCoreStep;
    pPstate->dCoreVoltage = g_DecodeField(kVid, kCofVidTable, Definition);
    pPstate->dNbFrequency = GetCurrentNBMultiplier() / (1u << kNbDid.Get(Definition)) * kReference;
    pPstate->dNbVoltage = g_DecodeField(kNbVid, kCofVidTable, Definition);
    return true;
}

// The stored numbers go back through the rows that decode them; frequencies, voltages and the flag are ignored, and
// the definition's other bits stay. The record is judged whole before anything is written.
bool CCofVidCPU::SetPstate(uint32_t uStateIndex, const CPstate* pPstate) {
    LOG_PROCESS_ERROR(pPstate);
    if (!_PinThread()) return false;
    const char* const pszFailed = _CheckStateIndex(uStateIndex);
    LOG_PROCESS_ERROR(!pszFailed, pszFailed);
    CMsrWords Definition{};
    bool bRetCode = _ReadMsr(kPstateMsr + uStateIndex, Definition);
    LOG_PROCESS_ERROR(bRetCode);
    for (const CPstateRow& rRow : kPstateRows) {
        const double dNumber = rRow.Number.In(*pPstate);
        rRow.Field.Set(Definition, g_Truncate(dNumber));
        LOG_PROCESS_ERROR(rRow.Field.Get(Definition) == dNumber, rRow.pszCheck);
    }
    bRetCode = _WriteMsr(kPstateMsr + uStateIndex, Definition);
    LOG_PROCESS_ERROR(bRetCode);
    return true;
}

uint32_t CCofVidCPU::GetCurPstate() {
    if (!_PinThread()) return kNoPstate;
    CMsrWords Status{};
    const bool bRetCode = _ReadMsr(kPstateStatusMsr, Status);
    LOG_PROCESS_ERROR_OR(kNoPstate, bRetCode);
    return kPstateCommand.Get(Status);
}

bool CCofVidCPU::SetCurPstate(uint32_t uStateIndex) {
    if (!_PinThread()) return false;
    const char* const pszFailed = _CheckStateIndex(uStateIndex);
    LOG_PROCESS_ERROR(!pszFailed, pszFailed);
    CMsrWords Control{};
    bool bRetCode = _ReadMsr(kPstateControlMsr, Control);
    LOG_PROCESS_ERROR(bRetCode);
    kPstateCommand.Set(Control, uStateIndex);
    bRetCode = _WriteMsr(kPstateControlMsr, Control);
    LOG_PROCESS_ERROR(bRetCode);
    return true;
}

uint32_t CCofVidCPU::GetMaxPstate() {
    if (!_PinThread()) return 0;
    CMsrWords Limit{};
    const bool bRetCode = _ReadMsr(kPstateLimitMsr, Limit);
    LOG_PROCESS_ERROR(bRetCode);
    return kPstateMaxVal.Get(Limit);
}

// --- family 10h ---

bool CBrevikCPU::_GetFVInfo() {
    if (!_EnterCore()) return false;
    CMsrWords Status{}, Pstate0{}, Startup{};
    bool bRetCode = _ReadMsr(kCofVidStatusMsr, Status) && _ReadMsr(kPstateMsr, Pstate0);
    LOG_PROCESS_ERROR(bRetCode);
    m_bMultiplierLimited = kMaxCof.Get(Status) != 0;
    m_FvInfo = {};
    m_FvInfo.dPstate0Multiplier = _Multiplier(Pstate0);
    m_FvInfo.dMaxMultiplier = m_bMultiplierLimited ? kMaxCof.Get(Status) * kStep : m_FvInfo.dPstate0Multiplier;
    m_FvInfo.dMinVoltage = _VoltageLimit(kMinVidLimit, Status);
    m_FvInfo.dMaxVoltage = _VoltageLimit(kMaxVidLimit, Status);
    const uint32_t uStartup = kStartupPstate.Get(Status);
    if (uStartup >= kDefinitions10h) return true;  // no such definition: no start values
    bRetCode = _ReadMsr(kPstateMsr + uStartup, Startup);
    LOG_PROCESS_ERROR(bRetCode);
    m_FvInfo.dStartMultiplier = _Multiplier(Startup);
    m_FvInfo.dStartVoltage = g_DecodeField(kVid, kCofVidTable, Startup);
    return true;
}

// Nothing here measures with the time-stamp counter, so an unsteady one is kept in mind and is no reason to fail.
bool CBrevikCPU::_CheckTSC() {
    if (!_PinThread()) return false;
    CMsrWords Hwcr{};
    const bool bRetCode = _ReadMsr(kHwcrMsr, Hwcr);
    LOG_PROCESS_ERROR(bRetCode);
    m_bSteadyTsc = kHwcrTscFreqSel.Get(Hwcr) && platform::Cpuid(kCpuidPower).uEdx & kTscInvariant;
    return true;
}

bool CBrevikCPU::SetCurrentMultiplier(double dMultiplier) {
    if (!_EnterCore()) return false;
    CMsrWords Control{};
    const bool bRetCode = _ReadMsr(kCofVidControlMsr, Control);
    LOG_PROCESS_ERROR(bRetCode);
    if (_Multiplier(Control) == dMultiplier) return true;
    LOG_PROCESS_ERROR(dMultiplier > 0.0);
    // The smallest divisor that does not let the frequency ID fall below 0.
    const double dDid = std::max(0.0, std::ceil(std::log2(m_rRules.uFidOffset * kStep / dMultiplier)));
    LOG_PROCESS_ERROR(dDid <= kMaxDid, "FidVidControl.m_sControl.CpuDid <= 4");
    const double dFid = std::floor(dMultiplier * 2 * std::exp2(dDid) - m_rRules.uFidOffset);
    LOG_PROCESS_ERROR(dFid < kFidLimit, "FidVidControl.m_sControl.CpuFid < 0x2F");
    CMsrWords Wanted = Control;
    kFid.Set(Wanted, static_cast<uint32_t>(dFid));
    kDid.Set(Wanted, static_cast<uint32_t>(dDid));
    const char* const pszFailed = _StartTransition(Control, Wanted);
    LOG_PROCESS_ERROR(!pszFailed, pszFailed);
    return true;
}

double CBrevikCPU::GetCurrentNBMultiplier() {
    if (!_PinThread()) return 0.0;
    uint32_t uRegister = 0;
    const bool bRetCode = m_Misc.Read(kClockRegister, uRegister);
    LOG_CHECK_ERROR(bRetCode);
    return kNbFid.Get(uRegister) + kNbFidOffset;  // Kept: 4 when the read failed
}

double CBrevikCPU::GetCurrentNBVoltage() {
    if (!_EnterCore()) return 0.0;
    CMsrWords Status{};
    const bool bRetCode = _ReadMsr(kCofVidStatusMsr, Status);
    LOG_PROCESS_ERROR(bRetCode);
    return g_DecodeField(kNbVid, kCofVidTable, Status);
}

bool CBrevikCPU::SetCurrentNBVoltage(double dVoltage) {
    if (!_EnterCore()) return false;
    const char* const pszFailed = _RequestVoltage(kNbVid, dVoltage);
    LOG_PROCESS_ERROR(!pszFailed, pszFailed);
    return true;
}

const void* CBrevikCPU::GetThermTrip() {
    if (!CCofVidCPU::GetThermTrip()) return nullptr;
    if (m_dTemperature != 0.0) return &m_dTemperature;
    uint8_t ucWhole = 0, ucFraction = 0;
    const bool bRetCode = _ReadSBTSIRegister(kSbTsiWhole, ucWhole) && _ReadSBTSIRegister(kSbTsiFraction, ucFraction);
    LOG_PROCESS_ERROR(bRetCode);
    m_dTemperature = ucWhole + kSbTsiEighths.Get(ucFraction) * kTemperatureStep;
    return &m_dTemperature;
}

bool CBrevikCPU::_ReadSBTSIRegister(uint8_t ucRegister, uint8_t& rucValue) const {
    const bool bRetCode = m_rDriver.AccessSMBus(kSbTsiAddress | kSMBusRead, ucRegister, rucValue);
    LOG_PROCESS_ERROR(bRetCode);
    return true;
}

bool CBrevikCPU::GetBoostState(bool* pbSupported, bool* pbEnabled) {
    LOG_PROCESS_ERROR(pbSupported && pbEnabled);
    *pbSupported = *pbEnabled = false;
    if (!_PinThread()) return false;
    uint32_t uRegister = 0;
    bool bRetCode = m_Misc.Read(kPowerStateRegister, uRegister);
    LOG_PROCESS_ERROR(bRetCode);
    *pbSupported = kClockDivisor.Get(uRegister) == 0;
    CMsrWords Hwcr{};
    bRetCode = _ReadMsr(kHwcrMsr, Hwcr);
    LOG_PROCESS_ERROR(bRetCode);
    *pbEnabled = kHwcrTlbCacheDis.Get(Hwcr) == 0;
    return true;
}

bool CBrevikCPU::SetBoostState(bool bFirst, bool bSecond) {
    if (!_PinThread()) return false;
    uint32_t uRegister = 0;
    bool bRetCode = m_Misc.Read(kPowerStateRegister, uRegister);
    LOG_PROCESS_ERROR(bRetCode);
    bRetCode = m_Misc.Write(kPowerStateRegister, kClockDivisor.Set(uRegister, bFirst ? 0 : kDivideBy32));
    LOG_PROCESS_ERROR(bRetCode);

    CMsrWords BusUnit{};
    bRetCode = _ReadMsr(kBusUnitMsr, BusUnit);
    LOG_PROCESS_ERROR(bRetCode);
    if (bSecond)
        kBusUnitTlb.Set(BusUnit, 0);
    else
        kBusUnitTlbOff.Set(BusUnit, 1);  // bit 0 stays as it is
    bRetCode = _WriteMsr(kBusUnitMsr, BusUnit);
    LOG_PROCESS_ERROR(bRetCode);

    CMsrWords Hwcr{};
    bRetCode = _ReadMsr(kHwcrMsr, Hwcr);
    LOG_PROCESS_ERROR(bRetCode);
    kHwcrTlbCacheDis.Set(Hwcr, !bSecond);
    bRetCode = _WriteMsr(kHwcrMsr, Hwcr);
    LOG_PROCESS_ERROR(bRetCode);
    return true;
}

// --- family 11h ---

bool CTalvorCPU::_GetFVInfo() {
    if (!_EnterCore()) return false;
    // Kept: the P-state number and the limit are taken from the low half of the status, where the fields of the current
    // clock stand.
    static constexpr CRegisterField kCurrentPstate = g_WideBits(2, 0), kLimit = g_WideBits(22, 17);
    CMsrWords Status{}, Current{}, Pstate0{};
    const bool bRetCode = _ReadMsr(kCofVidStatusMsr, Status) &&
                          _ReadMsr(kPstateMsr + kCurrentPstate.Get(Status), Current) && _ReadMsr(kPstateMsr, Pstate0);
    LOG_PROCESS_ERROR(bRetCode);
    const uint32_t uLimit = kLimit.Get(Status);
    m_bMultiplierLimited = uLimit != 0;
    m_FvInfo = {.dStartMultiplier = _Multiplier(Current),
                .dMaxMultiplier = uLimit ? kStep * (uLimit + m_rRules.uFidOffset) : m_FvInfo.dMaxMultiplier,
                .dStartVoltage = g_DecodeField(kVid, kCofVidTable, Current),
                .dMinVoltage = _VoltageLimit(kMinVidLimit, Status),
                .dMaxVoltage = _VoltageLimit(kMaxVidLimit, Status),
                .dMaxRampVoltage = 0.0,
                .dPstate0Multiplier = _Multiplier(Pstate0)};
    return true;
}

bool CTalvorCPU::SetCurrentMultiplier(double dMultiplier) {
    if (!_EnterCore()) return false;
    CMsrWords Control{};
    const bool bRetCode = _ReadMsr(kCofVidControlMsr, Control);
    LOG_PROCESS_ERROR(bRetCode);
    CMsrWords Wanted = Control;
    // Kept: no range check; the divisor stays, halves are cut off first and the result is cut to the field.
    kFid.Set(Wanted, (g_Truncate(dMultiplier * 2) << kDid.Get(Control)) - m_rRules.uFidOffset);
    const char* const pszFailed = _StartTransition(Control, Wanted);
    LOG_PROCESS_ERROR(!pszFailed, pszFailed);
    return true;
}

bool CTalvorCPU::_CheckTscFreqSel() {
    if (m_uExtendedFamily != m_rRules.rFamily.uExtendedFamily) return false;  // elsewhere the bit means something else
    if (!_PinThread()) return false;
    CMsrWords Hwcr{};
    const bool bRetCode = _ReadMsr(kHwcrMsr, Hwcr);
    LOG_PROCESS_ERROR(bRetCode);
    return kHwcrTscFreqSel.Get(Hwcr) != 0;
}

}  // namespace vxt
