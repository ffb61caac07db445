#include "devices/memctl/ht_link.h"

#include "api/log/log_checks.h"

namespace vxt {

using namespace ht;

namespace {

constexpr uint32_t g_BlockOffset(uint32_t uLink) { return kFirstLinkBlock + uLink * kLinkBlockStride; }

}  // namespace

bool CFamilyHTLink::Init(uint32_t uIndex) {
    if (uIndex != 0) return false;  // one device drives all links
    m_uIndex = uIndex;
    const bool bRetCode = m_Function.Find(kMakerPciVendor, m_rRules.rFamily.PciDevice(kLinkFunction));
    LOG_PROCESS_ERROR(bRetCode);
    return true;
}

bool CFamilyHTLink::GetHTConfig(uint32_t uLink, HTConfig* pConfig) {
    LOG_PROCESS_ERROR(uLink < m_rRules.uLinks, m_rRules.pszLinkCheck);
    LOG_PROCESS_ERROR(pConfig);
    const bool bRetCode = _GetHTConfig(g_BlockOffset(uLink), *pConfig);
    LOG_PROCESS_ERROR(bRetCode);
    return true;
}

bool CFamilyHTLink::SetHTConfig(uint32_t uLink, const HTConfig* pConfig) {
    LOG_PROCESS_ERROR(uLink < m_rRules.uLinks, m_rRules.pszLinkCheck);
    LOG_PROCESS_ERROR(pConfig);
    const bool bRetCode = _SetHTConfig(g_BlockOffset(uLink), *pConfig);
    LOG_PROCESS_ERROR(bRetCode);
    return true;
}

bool CFamilyHTLink::_GetHTConfig(uint32_t uCapability, HTConfig& rConfig) const {
    rConfig = {};
    CLinkBlock Block{};
    const bool bRetCode = m_Function.Read(uCapability, Block);
    LOG_PROCESS_ERROR(bRetCode);
    g_DecodeFlags(kFlagRows, Block, rConfig);
    for (const CNumberRow& rRow : kNumberRows) rRow.Number.In(rConfig) = g_DecodeField(rRow.Field, rRow.Values, Block);
    for (const auto& rRow : kRevisionRows) rRow.Value.In(rConfig) = rRow.Field.Get(Block);
    rConfig.dMaxFrequency = g_MaxFrequency(Block[kFrequencyWord]);
    return true;
}

// What no row names stays as it was read.
bool CFamilyHTLink::_SetHTConfig(uint32_t uCapability, const HTConfig& rConfig) const {
    CLinkBlock Block{};
    bool bRetCode = m_Function.Read(uCapability, Block);
    LOG_PROCESS_ERROR(bRetCode);
    g_EncodeFlags(kFlagRows, Block, rConfig);
    for (const CNumberRow& rRow : kNumberRows)
        g_EncodeField(rRow.Field, rRow.Values, Block, rRow.Number.In(rConfig), kTolerance);
    if (m_rRules.bWritesRevision)  // Kept: these bits are the hardware's own
        for (const auto& rRow : kRevisionRows) rRow.Field.Set(Block, rRow.Value.In(rConfig));
    bRetCode = m_Function.Write(uCapability, Block);
    LOG_PROCESS_ERROR(bRetCode);
    bRetCode = _PrepareLink(rConfig);
    LOG_PROCESS_ERROR(bRetCode);
    return true;
}

bool CFastHTLink::_PrepareLink(const HTConfig& rConfig) const {
    // Kept: the frequency asked for decides, also where the hardware cannot express it.
    if (!(rConfig.dFrequency > kLastSlowFrequency)) return true;
    // clang-format off
    return _Change(kRetryRegister, 0, kRetryEnable) &&
           _Change(kExtendedControlRegister, 0, kScrambleEnable) &&
           _Change(kTrainingRegister, kTrainingClear, kTrainingSet) &&
           _ReplacePhyReg(kPhyFastRegisters[0], kPhyFastValue) &&
           _ReplacePhyReg(kPhyFastRegisters[1], kPhyFastValue) &&
           _Change(kTransactionRegister, 0, kThrottleDisable);
    // clang-format on
}

bool CFastHTLink::_Change(uint32_t uRegister, uint32_t uClear, uint32_t uSet) const {
    uint32_t uValue = 0;
    return m_Function.Read(uRegister, uValue) && m_Function.Write(uRegister, (uValue & ~uClear) | uSet);
}

// Kept: always link 0's, whichever link is set; and what was read is not kept.
bool CFastHTLink::_ReplacePhyReg(uint32_t uRegister, uint32_t uValue) const {
    uint32_t uOld = 0;
    return _GetLinkPhyReg(0, uRegister, uOld) && _SetLinkPhyReg(0, uRegister, uValue);
}

bool CFastHTLink::_GetLinkPhyReg(uint32_t uLink, uint32_t uRegister, uint32_t& ruValue) const {
    const char* const pszFailed = _Phy(uLink).Read(uRegister, ruValue);
    LOG_PROCESS_ERROR(!pszFailed, pszFailed);
    return true;
}

bool CFastHTLink::_SetLinkPhyReg(uint32_t uLink, uint32_t uRegister, uint32_t uValue) const {
    const char* const pszFailed = _Phy(uLink).Write(uRegister, uValue);
    LOG_PROCESS_ERROR(!pszFailed, pszFailed);
    return true;
}

CIndexDataPair CFastHTLink::_Phy(uint32_t uLink) const {
    return {m_Function.Further(kPhyFunction), kPhyPair + uLink * kPhyPairStride, kPhyIndexMask, kPhyPoll};
}

}  // namespace vxt
