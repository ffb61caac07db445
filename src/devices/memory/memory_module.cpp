#include "devices/memory/memory_module.h"

#include <algorithm>
#include <cwchar>
#include <iterator>

#include "api/log/log_checks.h"

namespace vxt {

namespace {

constexpr CDeviceIdentity kIdentity{.eType = vxtapi::kDeviceMemory, .pszName = L"Default Memory"};

// The memory chips' addresses: four bits of kind (SPD EEPROM), three that the slot decides.
constexpr uint8_t kFirstAddress = 0x50, kLastAddress = 0x57, kReadTransfer = 1;
constexpr uint8_t kTypeByte = 2;
constexpr uint32_t kSpdBytes = 256, kDecodedBytes = 128, kDecodedBytesOfDdr3 = 176;  // all up to what is decoded last

struct CName {
    const wchar_t* pszMemory;
    ESpdMemory eMemory;
};
constexpr CName kMemoryNames[] = {
    {L"DDR", ESpdMemory::kDdr}, {L"DDR2", ESpdMemory::kDdr2}, {L"DDR3", ESpdMemory::kDdr3}};
constexpr const wchar_t* kModuleNames[] = {
    L"",           L"unbuffered",  L"buffered",    L"registered", L"UDIMM",        L"RDIMM",        L"SO-DIMM",
    L"Micro-DIMM", L"Mini-RDIMM",  L"Mini-UDIMM",  L"Mini-CDIMM", L"72b-SO-UDIMM", L"72b-SO-RDIMM", L"72b-SO-CDIMM",
    L"LRDIMM",     L"16b-SO-DIMM", L"32b-SO-DIMM",
};
static_assert(std::size(kModuleNames) == static_cast<size_t>(ESpdModule::kSoDimm32) + 1);

struct CVerdict {
    ESpdVerdict eVerdict;
    vxtapi::eSpdVerdict eToHosts;
};
constexpr CVerdict kVerdicts[] = {
    {ESpdVerdict::kRight, vxtapi::kSpdRight},
    {ESpdVerdict::kWrongChecksum, vxtapi::kSpdWrongChecksum},
    {ESpdVerdict::kTooShort, vxtapi::kSpdTooShort},
    {ESpdVerdict::kErased, vxtapi::kSpdErased},
    {ESpdVerdict::kUnknownType, vxtapi::kSpdUnknownType},
};

/// The record's times in the order of ESpdTiming.
constexpr vxtapi::MemoryModuleTime vxtapi::MemoryModuleGrade::*kTimes[] = {
    &vxtapi::MemoryModuleGrade::Tcl,  &vxtapi::MemoryModuleGrade::Trcd, &vxtapi::MemoryModuleGrade::Trp,
    &vxtapi::MemoryModuleGrade::Tras, &vxtapi::MemoryModuleGrade::Trc,  &vxtapi::MemoryModuleGrade::Trrd,
    &vxtapi::MemoryModuleGrade::Twr,  &vxtapi::MemoryModuleGrade::Twtr, &vxtapi::MemoryModuleGrade::Trtp,
    &vxtapi::MemoryModuleGrade::Trfc, &vxtapi::MemoryModuleGrade::Tfaw,
};
static_assert(std::size(kTimes) == kSpdTimings);

}  // namespace

CDefaultMemory::CDefaultMemory(CDriverHandler& rDriver) : CDeviceBase(kIdentity), m_rDriver(rDriver) {}

bool CDefaultMemory::_ReadByte(uint8_t ucAddress, uint8_t ucOffset, uint8_t& rucData) {
    return m_rDriver.AccessSMBus(static_cast<uint8_t>(ucAddress << 1 | kReadTransfer), ucOffset, rucData);
}

/// The module number `uIndex` of those that answer.
bool CDefaultMemory::Init(uint32_t uIndex) {
    if (m_rDriver.GetSMBusBase() == 0) return false;
    uint32_t uFound = 0;
    for (uint8_t ucAddress = kFirstAddress; ucAddress <= kLastAddress; ++ucAddress) {
        if (!_ReadByte(ucAddress, kTypeByte, m_ucType) || uFound++ != uIndex) continue;
        m_ucAddress = ucAddress;
        m_uIndex = uIndex;
        return true;
    }
    return false;
}

std::optional<uint32_t> CDefaultMemory::_ReadBytes(std::span<uint8_t> Bytes) {
    const auto Read = [&](uint32_t uOffset, uint8_t& rucData) {
        return _ReadByte(m_ucAddress, static_cast<uint8_t>(uOffset), rucData);
    };
    for (uint32_t uOffset = 0; uOffset < Bytes.size(); ++uOffset) {
        if (Read(uOffset, Bytes[uOffset]) || Read(uOffset, Bytes[uOffset])) continue;
        uint8_t ucFirst;
        return uOffset != 0 && Read(0, ucFirst) ? std::optional(uOffset) : std::nullopt;
    }
    return static_cast<uint32_t>(Bytes.size());
}

const CSpdRecord* CDefaultMemory::_Record() {
    if (m_oRecord) return &*m_oRecord;
    std::array<uint8_t, kDecodedBytesOfDdr3> aucBytes;
    const bool bDdr3 = m_ucType == static_cast<uint8_t>(ESpdMemory::kDdr3);
    const std::span<uint8_t> Bytes = std::span(aucBytes).first(bDdr3 ? kDecodedBytesOfDdr3 : kDecodedBytes);
    const std::optional<uint32_t> ouRead = _ReadBytes(Bytes);
    LOG_PROCESS_ERROR(ouRead);
    m_oRecord = g_DecodeSpd(Bytes.first(*ouRead));
    m_Manufacturer.Set(g_TextOf(m_oRecord->pszManufacturer));
    m_DramManufacturer.Set(g_TextOf(m_oRecord->pszDramManufacturer));
    m_PartNumber.Set(std::string_view(m_oRecord->szPartNumber));
    _Describe(*m_oRecord);
    return &*m_oRecord;
}

/// "DDR3 UDIMM, 2048 MiB"
void CDefaultMemory::_Describe(const CSpdRecord& rRecord) {
    const auto pName = std::ranges::find(kMemoryNames, rRecord.eMemory, &CName::eMemory);
    m_Description.Set(std::wstring_view(pName == std::end(kMemoryNames) ? L"Unknown memory" : pName->pszMemory));
    const std::wstring_view sModule = kModuleNames[static_cast<size_t>(rRecord.eModule)];
    if (!sModule.empty()) m_Description.Append(std::wstring_view(L" ")).Append(sModule);
    if (!rRecord.ouSize) return;
    std::array<wchar_t, 20> szSize{};
    (void)std::swprintf(szSize.data(), szSize.size(), L", %u MiB", static_cast<unsigned>(*rRecord.ouSize));
    m_Description.Append(std::wstring_view(szSize.data()));
}

const wchar_t* CDefaultMemory::GetModel() { return _Record() ? m_PartNumber.Get() : L""; }
const wchar_t* CDefaultMemory::GetVendor() { return _Record() ? m_Manufacturer.Get() : L""; }
const wchar_t* CDefaultMemory::GetDescription() { return _Record() ? m_Description.Get() : L""; }
const wchar_t* CDefaultMemory::GetDramVendor() { return _Record() ? m_DramManufacturer.Get() : L""; }

const wchar_t* CDefaultMemory::GetModuleType() {
    const CSpdRecord* const pRecord = _Record();
    return pRecord ? kModuleNames[static_cast<size_t>(pRecord->eModule)] : L"";
}

bool CDefaultMemory::GetModuleInfo(vxtapi::MemoryModuleInfo* pInfo) {
    LOG_PROCESS_ERROR(pInfo);
    *pInfo = {};
    pInfo->uVerdict = vxtapi::kSpdUnreadable;
    pInfo->uAddress = m_ucAddress;
    const CSpdRecord* const pRecord = _Record();
    LOG_PROCESS_ERROR(pRecord);
    const CSpdRecord& r = *pRecord;
    pInfo->uVerdict = std::ranges::find(kVerdicts, r.eVerdict, &CVerdict::eVerdict)->eToHosts;
    pInfo->uMemory = r.ucTypeCode;
    pInfo->uSize = r.ouSize.value_or(0);
    pInfo->uRanks = r.ouRanks.value_or(0);
    pInfo->uDataWidth = r.ouDataWidth.value_or(0);
    pInfo->uEccWidth = r.ouEccWidth.value_or(0);
    pInfo->uDeviceWidth = r.ouDeviceWidth.value_or(0);
    pInfo->uBanks = r.ouBanks.value_or(0);
    pInfo->uRowBits = r.ouRows.value_or(0);
    pInfo->uColumnBits = r.ouColumns.value_or(0);
    pInfo->uSpdRevision = r.oucRevision.value_or(0);
    pInfo->uModuleRevision = r.ousModuleRevision.value_or(0);
    pInfo->uSerial = r.ouSerial.value_or(0);
    pInfo->uYear = r.ousYear.value_or(0);
    pInfo->uWeek = r.oucWeek.value_or(0);
    pInfo->uStoredSum = r.ousStoredSum.value_or(0);
    pInfo->uComputedSum = r.ousComputedSum.value_or(0);
    std::ranges::copy(r.Voltages, pInfo->adVoltages);
    pInfo->bHasSerial = r.ouSerial.has_value();
    pInfo->bHasSum = r.ousStoredSum.has_value();
    pInfo->bSizeDoubtful = r.bSizeDoubtful;
    pInfo->bManufacturerIsText = r.bManufacturerIsText;
    return true;
}

uint32_t CDefaultMemory::GetGradeCount() {
    const CSpdRecord* const pRecord = _Record();
    return pRecord ? static_cast<uint32_t>(pRecord->Grades.size()) : 0;
}

bool CDefaultMemory::GetGrade(uint32_t uGrade, vxtapi::MemoryModuleGrade* pGrade) {
    LOG_PROCESS_ERROR(pGrade);
    LOG_PROCESS_ERROR(uGrade < GetGradeCount());
    const CSpdGrade& rGrade = m_oRecord->Grades[uGrade];
    *pGrade = {};
    pGrade->dCasLatency = rGrade.dCasLatency;
    pGrade->dClock = rGrade.dClock;
    pGrade->uDataRate = rGrade.uDataRate;
    for (size_t uTime = 0; uTime < kSpdTimings; ++uTime)
        if (const auto& roTime = rGrade.aoTimes[uTime]) pGrade->*kTimes[uTime] = {roTime->dNs, roTime->dClocks};
    return true;
}

bool CDefaultMemory::GetCasLatencies(double* pdClocks, uint32_t& ruSize) {
    const CSpdRecord* const pRecord = _Record();
    LOG_PROCESS_ERROR(pRecord && !pRecord->CasLatencies.empty());
    LOG_PROCESS_ERROR(pdClocks && pRecord->CasLatencies.size() <= ruSize);
    std::ranges::copy(pRecord->CasLatencies, pdClocks);
    ruSize = static_cast<uint32_t>(pRecord->CasLatencies.size());
    return true;
}

bool CDefaultMemory::ReadSpd(uint8_t* pucBytes, uint32_t& ruSize) {
    std::array<uint8_t, kSpdBytes> aucBytes;
    LOG_PROCESS_ERROR(pucBytes && ruSize >= aucBytes.size());
    const std::optional<uint32_t> ouRead = _ReadBytes(aucBytes);
    LOG_PROCESS_ERROR(ouRead);
    std::ranges::copy(std::span(aucBytes).first(*ouRead), pucBytes);
    ruSize = *ouRead;
    return true;
}

}  // namespace vxt
