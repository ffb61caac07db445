#include "devices/memctl/memory_controller.h"

#include <algorithm>
#include <cstring>

#include "api/log/log_checks.h"
#include "devices/memctl/memory_registers.h"
#include "platform/cpuid.h"

namespace vxt {

using namespace memory;

namespace {

constexpr CPollLimit kPoll{1'000, "nCounter < 1000"};
constexpr uint32_t kChannels = 2;
constexpr double kNominalReference = 200.0;  ///< MHz

constexpr CDeviceIdentity g_Identity(const wchar_t* pszName, uint32_t uVersion) {
    return {
        .eType = vxtapi::kDeviceMemoryController, .pszName = pszName, .uVersion = uVersion, .pszVendor = kMakerVendor};
}
constexpr CDeviceIdentity kFirstK8Identity = g_Identity(L"Internal DDR Memory Controller", 20070322);
constexpr CDeviceIdentity kRevisionFIdentity = g_Identity(L"Internal DDR2 Memory Controller", 20070403);
constexpr CDeviceIdentity kFamily10hIdentity = g_Identity(L"Internal DDR2 DDR3 Memory Controller", 20070518);
constexpr CDeviceIdentity kFamily11hIdentity =
    g_Identity(L"QOR Family 11h Processor Internal Memory Controller", 20071108);

// A record as hosts lay it out: numbers by slot, flags as bytes of any value.
std::byte* g_At(void* pRecord, size_t uOffset) { return static_cast<std::byte*>(pRecord) + uOffset; }
const std::byte* g_At(const void* pRecord, size_t uOffset) { return static_cast<const std::byte*>(pRecord) + uOffset; }
size_t g_Offset(uint32_t uSlot) { return uSlot % kConfigSlots * sizeof(double); }

void g_Decode(std::span<const CMemoryRow> Rows, uint32_t uLayout, std::span<const uint32_t> Words, void* pRecord,
              uint32_t uSlots = 0) {
    for (const CMemoryRow& rRow : Rows) {
        if (!rRow.HasField()) continue;
        const CCoding& rCoding = rRow.Coding(uLayout);
        const double dValue = g_DecodeField(rCoding.Field, rCoding.Values, Words);
        std::memcpy(g_At(pRecord, g_Offset(rRow.Slot() + uSlots)), &dValue, sizeof(dValue));
    }
}

void g_Encode(std::span<const CMemoryRow> Rows, uint32_t uLayout, std::span<uint32_t> Words, const void* pRecord,
              uint32_t uSlots = 0) {
    for (const CMemoryRow& rRow : Rows) {
        const CCoding& rCoding = rRow.Coding(uLayout);
        double dValue = 0.0;
        std::memcpy(&dValue, g_At(pRecord, g_Offset(rRow.Slot() + uSlots)), sizeof(dValue));
        g_EncodeField(rCoding.Field, rCoding.Values, Words, dValue, kTolerance);
    }
}

void g_Decode(std::span<const CFlagRow> Rows, const CWords& rWords, void* pRecord) {
    for (const CFlagRow& rRow : Rows) *g_At(pRecord, rRow.uOffset) = static_cast<std::byte>(rRow.Field.Get(rWords));
}

void g_Encode(std::span<const CFlagRow> Rows, CWords& rWords, const void* pRecord) {
    for (const CFlagRow& rRow : Rows)
        if (!rRow.bReadOnly) rRow.Field.Set(rWords, *g_At(pRecord, rRow.uOffset) != std::byte{0});
}

const CMemoryRow* g_Find(std::span<const CMemoryRow> Rows, ESlot eSlot) {
    const auto it = std::ranges::find(Rows, eSlot, &CMemoryRow::Slot);
    return it == Rows.end() ? nullptr : &*it;
}

const CMemoryRow* g_Find(const CFamilyRules& rRules, ESlot eSlot) {
    for (const auto Rows : {rRules.Timing, rRules.Config})
        if (const CMemoryRow* pRow = g_Find(Rows, eSlot)) return pRow;
    for (const CAdditionalRegister& rRegister : rRules.Additional)
        if (const CMemoryRow* pRow = g_Find(rRegister.Rows, eSlot)) return pRow;
    return nullptr;
}

}  // namespace

CMoldanMemoryController::CMoldanMemoryController(CDriverHandler& rDriver)
    : CFamilyMemoryController(kFirstK8Identity, kFirstK8Rules, rDriver) {}
CKDFMemoryController::CKDFMemoryController(CDriverHandler& rDriver)
    : CFamilyMemoryController(kRevisionFIdentity, kRevisionFRules, rDriver) {}
CBrevikMemoryController::CBrevikMemoryController(CDriverHandler& rDriver)
    : CFamilyMemoryController(kFamily10hIdentity, kFamily10hRules, rDriver) {}
CTalvorMemoryController::CTalvorMemoryController(CDriverHandler& rDriver)
    : CFamilyMemoryController(kFamily11hIdentity, kFamily11hRules, rDriver) {}

bool CFamilyMemoryController::Init(uint32_t uIndex) {
    LOG_PROCESS_ERROR(uIndex == 0);
    bool bRetCode = _CheckCpuid();
    LOG_PROCESS_ERROR(bRetCode);
    bRetCode = m_Function.Find(kPciVendor, m_rRules.usPciDevice);
    LOG_PROCESS_ERROR(bRetCode);
    vxtapi::MemConfig Scratch;
    bRetCode = GetMemConfig(&Scratch);  // for the channels and the layout
    LOG_PROCESS_ERROR(bRetCode);
    m_uIndex = uIndex;
    return true;
}

bool CFamilyMemoryController::_CheckCpuid() const {
    const char* const pszFailed = m_rRules.rMatch.FailedCheck(platform::Cpuid(cpuid::kSignature).uEax);
    LOG_PROCESS_ERROR(!pszFailed, pszFailed);
    return true;
}

uint32_t CFamilyMemoryController::GetMemoryType() { return m_uLayout & kDdr3 ? kJedecDdr3 : m_rRules.uMemoryType; }

uint32_t CFamilyMemoryController::GetPciVendor() { return kPciVendor; }

double CFamilyMemoryController::GetMemClock(double dReferenceClock, double dFactor) {
    vxtapi::MemConfig Config;
    const bool bRetCode = GetMemConfig(&Config) && Config.dMemoryClock != kReserved;
    LOG_PROCESS_ERROR(bRetCode);
    return Config.dMemoryClock * dReferenceClock * dFactor / kNominalReference;
}

// --- timings ---------------------------------------------------------------------------------------------------------

bool CFamilyMemoryController::GetMemTiming(vxtapi::MemTiming* pTiming) {
    LOG_PROCESS_ERROR(pTiming);
    *pTiming = {};
    EnableCf8ExtCfg();
    if (!m_bChannel[0] && !m_bChannel[1]) return true;
    CWords Words{};
    const bool bRetCode = _ReadAll(m_rRules.TimingBlocks, _IsDriven(0) ? 0 : 1, Words);
    LOG_PROCESS_ERROR(bRetCode);
    g_Decode(m_rRules.Timing, m_uLayout, Words, pTiming);
    return true;
}

bool CFamilyMemoryController::SetMemTiming(const vxtapi::MemTiming* pTiming) {
    LOG_PROCESS_ERROR(pTiming);
    EnableCf8ExtCfg();
    if (!m_bChannel[0] && !m_bChannel[1]) return true;
    CWords Words{};
    const uint32_t uFirst = _IsDriven(0) ? 0 : 1;
    bool bRetCode = _ReadAll(m_rRules.TimingBlocks, uFirst, Words);
    LOG_PROCESS_ERROR(bRetCode);
    g_Encode(m_rRules.Timing, m_uLayout, Words, pTiming);
    for (uint32_t uChannel = uFirst; uChannel < kChannels; ++uChannel) {
        if (!_IsDriven(uChannel) || (uChannel != uFirst && !m_rRules.bWritesBoth)) continue;
        bRetCode = _WriteAll(m_rRules.TimingBlocks, uChannel, Words);  // Kept: channel B becomes as channel A
        LOG_PROCESS_ERROR(bRetCode);
    }
    return true;
}

// --- configuration ---------------------------------------------------------------------------------------------------

bool CFamilyMemoryController::GetMemConfig(vxtapi::MemConfig* pConfig) {
    LOG_PROCESS_ERROR(pConfig);
    *pConfig = {};
    EnableCf8ExtCfg();
    const CBlock First = m_rRules.ConfigBlocks.front();
    CWords aWords[kChannels]{};
    bool bRetCode = true;
    for (uint32_t uChannel = 0; uChannel < m_rRules.RegisterSets(); ++uChannel)
        bRetCode = bRetCode && _Read(First, uChannel, aWords[uChannel]);
    LOG_PROCESS_ERROR(bRetCode);
    m_bChannel[0] = m_rRules.ChannelUsed.Get(aWords[0]);
    m_bChannel[1] =
        m_rRules.BothUsed ? m_bChannel[0] && m_rRules.BothUsed->Get(aWords[0]) : m_rRules.ChannelUsed.Get(aWords[1]);
    LOG_PROCESS_ERROR(m_bChannel[0] || m_bChannel[1]);

    CWords Words{};  // channel B's where both are in use
    for (uint32_t uChannel = 0; uChannel < kChannels; ++uChannel) {
        if (!_IsDriven(uChannel)) continue;
        Words = aWords[uChannel];
        bRetCode = _ReadAll(m_rRules.ConfigBlocks.subspan(1), uChannel, Words);
        LOG_PROCESS_ERROR(bRetCode);
    }
    m_uLayout = kAlways;
    for (const CLayoutRow& rRow : m_rRules.Layout)
        if (rRow.Field.Get(Words) == rRow.uCode) m_uLayout |= rRow.uLayout;
    pConfig->bBothChannels = m_bChannel[0] && m_bChannel[1];
    g_Decode(m_rRules.Flags, Words, pConfig);
    g_Decode(m_rRules.Config, m_uLayout, Words, pConfig);

    for (uint32_t uChannel = 0; uChannel < kChannels; ++uChannel) {
        bRetCode = !m_bChannel[uChannel] || _GetAdditionalRows(uChannel, *pConfig);
        LOG_PROCESS_ERROR(bRetCode);
    }
    if (m_rRules.RegisterSets() == 1) return true;
    uint32_t uSelect = 0;
    bRetCode = m_Function.Read(kChannelSelect, uSelect);
    LOG_PROCESS_ERROR(bRetCode);
    pConfig->bGanged = kGanged.Get(uSelect);
    return true;
}

bool CFamilyMemoryController::SetMemConfig(const vxtapi::MemConfig* pConfig) {
    LOG_PROCESS_ERROR(pConfig);
    EnableCf8ExtCfg();
    if (!m_bChannel[0] && !m_bChannel[1]) return true;
    bool bRetCode = true;
    for (uint32_t uChannel = 0; uChannel < kChannels; ++uChannel) {
        bRetCode = !_IsDriven(uChannel) || _SetConfigRegisters(uChannel, *pConfig);
        LOG_PROCESS_ERROR(bRetCode);
    }
    for (uint32_t uChannel = 0; uChannel < kChannels; ++uChannel) {
        bRetCode = !m_bChannel[uChannel] || _SetAdditionalRows(uChannel, *pConfig);
        LOG_PROCESS_ERROR(bRetCode);
    }
    if (m_rRules.RegisterSets() == 1) return true;
    uint32_t uSelect = 0;
    bRetCode = m_Function.Read(kChannelSelect, uSelect);
    LOG_PROCESS_ERROR(bRetCode);
    const bool bGanged = *g_At(pConfig, offsetof(MemConfig, bGanged)) != std::byte{0};
    bRetCode = m_Function.Write(kChannelSelect, kGanged.Set(uSelect, bGanged));
    LOG_PROCESS_ERROR(bRetCode);
    return true;
}

bool CFamilyMemoryController::_SetConfigRegisters(uint32_t uChannel, const vxtapi::MemConfig& rConfig) const {
    CWords Words{};
    if (!_ReadAll(m_rRules.ConfigBlocks, uChannel, Words)) return false;
    g_Encode(m_rRules.Flags, Words, &rConfig);
    g_Encode(m_rRules.Config, m_uLayout, Words, &rConfig);
    return _WriteAll(m_rRules.ConfigBlocks, uChannel, Words);
}

bool CFamilyMemoryController::_GetAdditionalRows(uint32_t uChannel, vxtapi::MemConfig& rConfig) const {
    for (const auto& [uIndex, uSlotsPerChannel, Rows] : m_rRules.Additional) {
        uint32_t uValue = 0;
        if (!GetAdditionalData(uChannel, uIndex, uValue)) return false;
        g_Decode(Rows, m_uLayout, std::span(&uValue, 1), &rConfig, uChannel * uSlotsPerChannel);
    }
    return true;
}

// One register after the other: what was read last is what SetAdditionalData compares with.
bool CFamilyMemoryController::_SetAdditionalRows(uint32_t uChannel, const vxtapi::MemConfig& rConfig) const {
    for (const auto& [uIndex, uSlotsPerChannel, Rows] : m_rRules.Additional) {
        uint32_t uValue = 0;
        if (!GetAdditionalData(uChannel, uIndex, uValue)) return false;
        g_Encode(Rows, m_uLayout, std::span(&uValue, 1), &rConfig, uChannel * uSlotsPerChannel);
        if (!SetAdditionalData(uChannel, uIndex, uValue)) return false;
    }
    return true;
}

// --- value lists -----------------------------------------------------------------------------------------------------

bool CFamilyMemoryController::_List(ESlot eSlot, double* pdValues, uint32_t& ruSize, const char* pszOperation) const {
    const auto LogFunction = [pszOperation](const char*) { return pszOperation; };
    const CMemoryRow* const pRow = g_Find(m_rRules, eSlot);
    if (!pRow) return false;  // an answer, not a fault: the family has no such field
    LOG_PROCESS_ERROR(pdValues);
    const bool bRetCode = pRow->Coding(m_uLayout).Values.List(std::span(pdValues, ruSize), ruSize);
    LOG_PROCESS_ERROR(bRetCode, "uSize <= ruSize");
    return true;
}

// --- registers -------------------------------------------------------------------------------------------------------

bool CFamilyMemoryController::_Read(CBlock Block, uint32_t uChannel, CWords& rWords) const {
    return m_Function.Read(kRegisterOffsets[Block.eFirst] + uChannel * kChannelB,
                           std::span(rWords).subspan(Block.eFirst, Block.uWords));
}

bool CFamilyMemoryController::_ReadAll(std::span<const CBlock> Blocks, uint32_t uChannel, CWords& rWords) const {
    return std::ranges::all_of(Blocks, [&](CBlock Block) { return _Read(Block, uChannel, rWords); });
}

bool CFamilyMemoryController::_WriteAll(std::span<const CBlock> Blocks, uint32_t uChannel, const CWords& rWords) const {
    return std::ranges::all_of(Blocks, [&](CBlock Block) {
        return m_Function.Write(kRegisterOffsets[Block.eFirst] + uChannel * kChannelB,
                                std::span(rWords).subspan(Block.eFirst, Block.uWords));
    });
}

bool CFamilyMemoryController::EnableCf8ExtCfg() const {
    if (m_rRules.RegisterSets() == 1) return true;  // the K8 has nothing above FFh, and no such switch
    std::array<uint32_t, 2> Msr{};
    bool bRetCode = m_rDriver.RDMSR(kNbConfigMsr, Msr[0], Msr[1]);
    LOG_PROCESS_ERROR(bRetCode);
    kEnableCf8ExtCfg.Set(Msr, 1);
    bRetCode = m_rDriver.WRMSR(kNbConfigMsr, Msr[0], Msr[1]);
    LOG_PROCESS_ERROR(bRetCode);
    return true;
}

CIndexDataPair CFamilyMemoryController::_AdditionalData(uint32_t uChannel) const {
    const uint32_t uSet = m_rRules.RegisterSets() == 1 ? 0 : uChannel;
    return {m_Function, kAdditionalData + uSet * kChannelB, kAdditionalIndex, kPoll};
}

bool CFamilyMemoryController::GetAdditionalData(uint32_t uChannel, uint32_t uIndex, uint32_t& ruValue) const {
    LOG_PROCESS_ERROR(uChannel < kChannels, "uChannel < 2");
    const char* const pszFailed = _AdditionalData(uChannel).Read(uIndex + uChannel * m_rRules.uAdditionalOfB, ruValue);
    LOG_PROCESS_ERROR(!pszFailed, pszFailed);
    return true;
}

bool CFamilyMemoryController::SetAdditionalData(uint32_t uChannel, uint32_t uIndex, uint32_t uValue) const {
    LOG_PROCESS_ERROR(uChannel < kChannels, "uChannel < 2");
    const CIndexDataPair Pair = _AdditionalData(uChannel);
    uint32_t uPresent = 0;
    const bool bRetCode = Pair.ReadData(uPresent);
    LOG_PROCESS_ERROR(bRetCode);
    if (uPresent == uValue) return true;
    const char* const pszFailed = Pair.Write(uIndex + uChannel * m_rRules.uAdditionalOfB, uValue);
    LOG_PROCESS_ERROR(!pszFailed, pszFailed);
    return true;
}

}  // namespace vxt
