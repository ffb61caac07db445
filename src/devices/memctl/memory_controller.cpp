#include "devices/memctl/memory_controller.h"

#include <algorithm>

#include "api/log/log_checks.h"
#include "devices/memctl/memory_registers.h"

namespace vxt {

using namespace memory;

namespace {

constexpr CPollLimit kPoll{1'000, "nCounter < 1000"};
constexpr uint32_t kChannels = 2;
constexpr double kNominalReference = 200.0;  ///< MHz

/// `uFurther`: from a row's number to the one meant.
template <class TRecord>
void g_Decode(std::span<const CMemoryRow<TRecord>> Rows, uint32_t uLayout, std::span<const uint32_t> Words,
              TRecord& rRecord, size_t uFurther = 0) {
    for (const CMemoryRow<TRecord>& rRow : Rows) {
        if (!rRow.HasField()) continue;
        const CCoding& rCoding = rRow.Coding(uLayout);
        rRow.Number().Further(uFurther).In(rRecord) = g_DecodeField(rCoding.Field, rCoding.Values, Words);
    }
}

template <class TRecord>
void g_Encode(std::span<const CMemoryRow<TRecord>> Rows, uint32_t uLayout, std::span<uint32_t> Words,
              const TRecord& rRecord, size_t uFurther = 0) {
    for (const CMemoryRow<TRecord>& rRow : Rows) {
        const CCoding& rCoding = rRow.Coding(uLayout);
        g_EncodeField(rCoding.Field, rCoding.Values, Words, rRow.Number().Further(uFurther).In(rRecord), kTolerance);
    }
}

template <class TRecord>
const CMemoryRow<TRecord>* g_Find(std::span<const CMemoryRow<TRecord>> Rows,
                                  const CRecordField<TRecord, double>& rNumber) {
    const auto it = std::ranges::find(Rows, rNumber, &CMemoryRow<TRecord>::Number);
    return it == Rows.end() ? nullptr : &*it;
}

const CTimingRow* g_Find(const CMemoryRules& rRules, const CTimingRow::CNumber& rNumber) {
    return g_Find(rRules.Timing, rNumber);
}

const CConfigRow* g_Find(const CMemoryRules& rRules, const CConfigRow::CNumber& rNumber) {
    const CConfigRow* pRow = g_Find(rRules.Config, rNumber);
    for (const CAdditionalRegister& rRegister : rRules.Additional)
        if (!pRow) pRow = g_Find(rRegister.Rows, rNumber);
    return pRow;
}

}  // namespace

bool CFamilyMemoryController::Init(uint32_t uIndex) {
    LOG_PROCESS_ERROR(uIndex == 0);
    bool bRetCode = _CheckCpuid();
    LOG_PROCESS_ERROR(bRetCode);
    bRetCode = m_Function.Find(kMakerPciVendor, m_rRules.rFamily.PciDevice(kDramFunction));
    LOG_PROCESS_ERROR(bRetCode);
    vxtapi::MemConfig Scratch;
    bRetCode = GetMemConfig(&Scratch);  // for the channels and the layout
    LOG_PROCESS_ERROR(bRetCode);
    m_uIndex = uIndex;
    return true;
}

bool CFamilyMemoryController::_CheckCpuid() const {
    const char* const pszFailed =
        m_rRules.rFamily.FailedCheck(g_IdentifyProcessor(), m_rRules.rFamily.pszMemoryFamilyCheck);
    LOG_PROCESS_ERROR(!pszFailed, pszFailed);
    return true;
}

uint32_t CFamilyMemoryController::GetMemoryType() { return m_uLayout & kDdr3 ? kJedecDdr3 : m_rRules.uMemoryType; }

uint32_t CFamilyMemoryController::GetPciVendor() { return kMakerPciVendor; }

uint32_t CFamilyMemoryController::GetPciDevice() { return m_rRules.rFamily.PciDevice(kDramFunction); }

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
    g_Decode<MemTiming>(m_rRules.Timing, m_uLayout, Words, *pTiming);
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
    g_Encode<MemTiming>(m_rRules.Timing, m_uLayout, Words, *pTiming);
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
    for (uint32_t uSet = 0; uSet < m_rRules.uRegisterSets; ++uSet)
        bRetCode = bRetCode && _Read(First, uSet, aWords[uSet]);
    LOG_PROCESS_ERROR(bRetCode);
    m_bChannel[0] = m_rRules.ChannelUsed.Get(aWords[0]);
    m_bChannel[1] =
        m_rRules.oBothUsed ? m_bChannel[0] && m_rRules.oBothUsed->Get(aWords[0]) : m_rRules.ChannelUsed.Get(aWords[1]);
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
    g_DecodeFlags(m_rRules.Flags, Words, *pConfig);
    g_Decode<MemConfig>(m_rRules.Config, m_uLayout, Words, *pConfig);

    for (uint32_t uChannel = 0; uChannel < kChannels; ++uChannel) {
        bRetCode = !m_bChannel[uChannel] || _GetAdditionalRows(uChannel, *pConfig);
        LOG_PROCESS_ERROR(bRetCode);
    }
    if (!m_rRules.bChannelSelect) return true;
    uint32_t uSelect = 0;
    bRetCode = m_Function.Read(kChannelSelect, uSelect);
    LOG_PROCESS_ERROR(bRetCode);
    pConfig->bGanged = static_cast<uint8_t>(kGanged.Get(uSelect));
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
    if (!m_rRules.bChannelSelect) return true;
    uint32_t uSelect = 0;
    bRetCode = m_Function.Read(kChannelSelect, uSelect);
    LOG_PROCESS_ERROR(bRetCode);
    bRetCode = m_Function.Write(kChannelSelect, kGanged.Set(uSelect, pConfig->bGanged != 0));
    LOG_PROCESS_ERROR(bRetCode);
    return true;
}

bool CFamilyMemoryController::_SetConfigRegisters(uint32_t uChannel, const vxtapi::MemConfig& rConfig) const {
    CWords Words{};
    if (!_ReadAll(m_rRules.ConfigBlocks, uChannel, Words)) return false;
    g_EncodeFlags(m_rRules.Flags, Words, rConfig);
    g_Encode<MemConfig>(m_rRules.Config, m_uLayout, Words, rConfig);
    return _WriteAll(m_rRules.ConfigBlocks, uChannel, Words);
}

bool CFamilyMemoryController::_GetAdditionalRows(uint32_t uChannel, vxtapi::MemConfig& rConfig) const {
    for (const auto& [uIndex, uNumbersPerChannel, Rows] : m_rRules.Additional) {
        uint32_t uValue = 0;
        if (!GetAdditionalData(uChannel, uIndex, uValue)) return false;
        g_Decode<MemConfig>(Rows, m_uLayout, std::span(&uValue, 1), rConfig, uChannel * uNumbersPerChannel);
    }
    return true;
}

// One register after the other: what was read last is what SetAdditionalData compares with.
bool CFamilyMemoryController::_SetAdditionalRows(uint32_t uChannel, const vxtapi::MemConfig& rConfig) const {
    for (const auto& [uIndex, uNumbersPerChannel, Rows] : m_rRules.Additional) {
        uint32_t uValue = 0;
        if (!GetAdditionalData(uChannel, uIndex, uValue)) return false;
        g_Encode<MemConfig>(Rows, m_uLayout, std::span(&uValue, 1), rConfig, uChannel * uNumbersPerChannel);
        if (!SetAdditionalData(uChannel, uIndex, uValue)) return false;
    }
    return true;
}

// --- value lists -----------------------------------------------------------------------------------------------------

template <class TRecord>
bool CFamilyMemoryController::_List(const CRecordField<TRecord, double>& rNumber, double* pdValues, uint32_t& ruSize,
                                    const char* pszOperation) const {
    const auto LogFunction = [pszOperation](const char*) { return pszOperation; };
    const CMemoryRow<TRecord>* const pRow = g_Find(m_rRules, rNumber);
    if (!pRow) return false;  // an answer, not a fault: the family has no such field
    LOG_PROCESS_ERROR(pdValues);
    const bool bRetCode = pRow->Coding(m_uLayout).Values.List(std::span(pdValues, ruSize), ruSize);
    LOG_PROCESS_ERROR(bRetCode, "uSize <= ruSize");
    return true;
}

template bool CFamilyMemoryController::_List(const CTimingRow::CNumber&, double*, uint32_t&, const char*) const;
template bool CFamilyMemoryController::_List(const CConfigRow::CNumber&, double*, uint32_t&, const char*) const;

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
    if (!m_rRules.bExtendedSpace) return true;  // nothing above FFh, and no such switch
    std::array<uint32_t, 2> Msr{};
    bool bRetCode = m_rDriver.RDMSR(kNbConfigMsr, Msr[0], Msr[1]);
    LOG_PROCESS_ERROR(bRetCode);
    kEnableCf8ExtCfg.Set(Msr, 1);
    bRetCode = m_rDriver.WRMSR(kNbConfigMsr, Msr[0], Msr[1]);
    LOG_PROCESS_ERROR(bRetCode);
    return true;
}

CIndexDataPair CFamilyMemoryController::_AdditionalData(uint32_t uChannel) const {
    const uint32_t uSet = std::min(uChannel, m_rRules.uRegisterSets - 1);
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
