#include "devices/memctl/ht_link.h"

#include "api/log/log_checks.h"

namespace vxt {

using namespace ht;

namespace {

constexpr CDeviceIdentity g_LinkIdentity(const wchar_t* pszName, uint32_t uVersion, const wchar_t* pszModel) {
    return {.eType = vxtapi::kDeviceHtLink,
            .pszName = pszName,
            .uVersion = uVersion,
            .pszModel = pszModel,
            .pszDescription = pszModel,
            .pszVendor = kMakerVendor};
}
constexpr CDeviceIdentity kIdentityK8 = g_LinkIdentity(L"Internal HyperTransport(TM) Link Controller", 20070322,
                                                       L"HyperTransport(TM) Link Controller"),
                          kIdentity10h = g_LinkIdentity(L"Internal HyperTransport(TM) 3 Link Controller", 20070601,
                                                        L"HyperTransport(TM) 3 Link Controller"),
                          kIdentity11h =
                              g_LinkIdentity(L"QOR Family 11h Processor HyperTransport(TM) 3 Link Controller", 20071112,
                                             L"QOR Family 11h Processor HyperTransport(TM) 3 Link Controller");

constexpr uint32_t g_BlockOffset(uint32_t uLink) { return kFirstLinkBlock + uLink * kLinkBlockStride; }

}  // namespace

CHTLink::CHTLink(CDriverHandler& rDriver) : CFamilyHTLink(kIdentityK8, kLinksK8, rDriver) {}
CBrevikHTLink::CBrevikHTLink(CDriverHandler& rDriver) : CFastHTLink(kIdentity10h, kLinks10h, rDriver) {}
CTalvorHTLink::CTalvorHTLink(CDriverHandler& rDriver) : CFastHTLink(kIdentity11h, kLinks11h, rDriver) {}

bool CFamilyHTLink::Init(uint32_t uIndex) {
    if (uIndex != 0) return false;  // one device drives all links
    m_uIndex = uIndex;
    const bool bRetCode = m_Function.Find(kProcessorVendor, m_rFamily.usDevice);
    LOG_PROCESS_ERROR(bRetCode);
    return true;
}

bool CFamilyHTLink::GetHTConfig(uint32_t uLink, HTConfig* pConfig) {
    LOG_PROCESS_ERROR(uLink < m_rFamily.uLinks, m_rFamily.pszLinkCheck);
    LOG_PROCESS_ERROR(pConfig);
    const bool bRetCode = _GetHTConfig(g_BlockOffset(uLink), *pConfig);
    LOG_PROCESS_ERROR(bRetCode);
    return true;
}

bool CFamilyHTLink::SetHTConfig(uint32_t uLink, const HTConfig* pConfig) {
    LOG_PROCESS_ERROR(uLink < m_rFamily.uLinks, m_rFamily.pszLinkCheck);
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
    for (size_t i = 0; i < std::size(kControlRows); ++i)
        rConfig.abControl[i] = kControlRows[i].bReported && kControlRows[i].Bit.Get(Block);
    for (const CWidthRow& rRow : kWidthRows) {
        rConfig.*rRow.pWidth = g_DecodeField(rRow.Width, kWidths, Block);
        rConfig.*rRow.pFlowControl = rRow.FlowControl.Get(Block);
    }
    rConfig.uRevisionMinor = kRevisionMinor.Get(Block);
    rConfig.uRevisionMajor = kRevisionMajor.Get(Block);
    rConfig.dFrequency = g_DecodeField(kFrequency, kFrequencies, Block);
    rConfig.dMaxFrequency = g_MaxFrequency(Block[kFrequencyWord]);
    return true;
}

// What no row names stays as it was read.
bool CFamilyHTLink::_SetHTConfig(uint32_t uCapability, const HTConfig& rConfig) const {
    CLinkBlock Block{};
    bool bRetCode = m_Function.Read(uCapability, Block);
    LOG_PROCESS_ERROR(bRetCode);
    for (size_t i = 0; i < std::size(kControlRows); ++i) kControlRows[i].Bit.Set(Block, rConfig.abControl[i]);
    for (const CWidthRow& rRow : kWidthRows) {
        g_EncodeField(rRow.Width, kWidths, Block, rConfig.*rRow.pWidth, kTolerance);
        rRow.FlowControl.Set(Block, rConfig.*rRow.pFlowControl);
    }
    g_EncodeField(kFrequency, kFrequencies, Block, rConfig.dFrequency, kTolerance);
    if (m_rFamily.bWritesRevision) {  // Kept: these bits are the hardware's own
        kRevisionMinor.Set(Block, rConfig.uRevisionMinor);
        kRevisionMajor.Set(Block, rConfig.uRevisionMajor);
    }
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
