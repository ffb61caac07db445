#include "firmware/acpi_table.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <span>

#include "api/log/log.h"
#include "api/log/log_checks.h"
#include "registers/no_throw.h"
#include "registers/scope_exit.h"

namespace vxt {

namespace {

constexpr uint32_t ACPI_SEARCH_BEGIN = 0xE0000, ACPI_SEARCH_END = 0xFFFFF;
constexpr uint32_t kSearchStep = 16;
constexpr std::string_view kRootSignature = "RSD PTR ";

// Root pointer (ACPI 2.0, 5.2.5.3)
constexpr size_t kRootSize = 36, kRootFirstSize = 20, kRootRevision = 15, kRootRsdt = 16, kRootXsdt = 24;
// Table header (5.2.6) and the fixed table's pointers (5.2.9)
constexpr size_t kHeaderSize = 36, kHeaderLength = 4, kFacs = 36, kDsdt = 40;

// Real tables are a few hundred KiB, root tables a few dozen entries: more is a wrong length.
constexpr uint32_t kMaximumTable = 4 << 20, kMaximumEntries = 1024;

/// Little-endian number at an offset; bytes beyond the end count as zero.
template <class TValue> TValue g_ReadField(std::span<const uint8_t> Data, size_t uOffset) {
    TValue Value = 0;
    if (uOffset < Data.size())
        std::memcpy(&Value, Data.data() + uOffset, std::min(sizeof(Value), Data.size() - uOffset));
    return Value;
}

uint32_t g_SignatureKey(const uint8_t* pTable) {
    return uint32_t{pTable[0]} << 24 | uint32_t{pTable[1]} << 16 | uint32_t{pTable[2]} << 8 | pTable[3];
}

// Tables that are kept without being followed.
constexpr uint32_t kKnownTables[] = {
    g_TableKey("APIC"), g_TableKey("BERT"), g_TableKey("BOOT"), g_TableKey("CPEP"), g_TableKey("DBGP"),
    g_TableKey("DMAR"), g_TableKey("DSDT"), g_TableKey("ECDT"), g_TableKey("ERST"), g_TableKey("ETDT"),
    g_TableKey("FACS"), g_TableKey("HEST"), g_TableKey("HPET"), g_TableKey("IBFT"), g_TableKey("MCFG"),
    g_TableKey("PSDT"), g_TableKey("SBST"), g_TableKey("SLIT"), g_TableKey("SPCR"), g_TableKey("SPMI"),
    g_TableKey("SRAT"), g_TableKey("SSDT"), g_TableKey("TCPA"), g_TableKey("UEFI"), g_TableKey("WAET"),
    g_TableKey("WDAT"), g_TableKey("WDRT"), g_TableKey("WSPT"),
    0x004F454D,  // Kept: a zero byte and "OEM", which no four-letter signature equals
};

}  // namespace

CACPITable& g_GetACPITable() {
    static CACPITable s_ACPITable(g_GetDriverHandler());
    return s_ACPITable;
}

void CACPITable::Clear() { m_TableList.clear(); }

uint8_t CACPITable::CheckSum(const uint8_t* pData, size_t uSize) {
    LOG_PROCESS_ERROR(pData);
    uint8_t ucSum = 0;
    for (size_t i = 0; i < uSize; ++i) ucSum = static_cast<uint8_t>(ucSum + pData[i]);
    return ucSum;
}

bool CACPITable::GetTable(uint32_t uKey, const uint8_t*& rpTable, uint32_t& ruSize) {
    const auto it = m_TableList.find(uKey);
    LOG_PROCESS_ERROR(it != m_TableList.end());
    rpTable = it->second.pData.get();
    ruSize = it->second.uSize;
    return true;
}

bool CACPITable::Init() {
    CScopeExit ClearAll([this] { Clear(); });
    constexpr uint32_t kAreaSize = ACPI_SEARCH_END - ACPI_SEARCH_BEGIN;
    const std::unique_ptr<uint8_t[]> pArea(new (std::nothrow) uint8_t[kAreaSize]);
    LOG_PROCESS_ERROR(pArea);
    bool bRetCode = m_rDriverHandler.ReadMemory(ACPI_SEARCH_BEGIN, kAreaSize, pArea.get());
    LOG_PROCESS_ERROR(bRetCode);
    const auto IsRoot = [&pArea](uint32_t uAddress) {
        return std::memcmp(&pArea[uAddress - ACPI_SEARCH_BEGIN], kRootSignature.data(), kRootSignature.size()) == 0;
    };
    // The last position searched is 0xFFFF0, whose signature still lies inside the copy.
    m_uRSDPAddress = ACPI_SEARCH_BEGIN;
    while (m_uRSDPAddress < ACPI_SEARCH_END && !IsRoot(m_uRSDPAddress)) m_uRSDPAddress += kSearchStep;
    LOG_PROCESS_ERROR(m_uRSDPAddress < ACPI_SEARCH_END);

    std::array<uint8_t, kRootSize> Root{};
    bRetCode = m_rDriverHandler.ReadMemory(m_uRSDPAddress, kRootSize, Root.data());
    LOG_PROCESS_ERROR(bRetCode);
    uint8_t ucCheckSum = CheckSum(Root.data(), kRootFirstSize);
    LOG_PROCESS_ERROR(ucCheckSum == 0);
    if (const uint32_t uRsdt = g_ReadField<uint32_t>(Root, kRootRsdt)) {
        bRetCode = Parse(uRsdt);
        LOG_PROCESS_ERROR(bRetCode);
    }
    if (const uint64_t ullXsdt = g_ReadField<uint64_t>(Root, kRootXsdt); Root[kRootRevision] > 0 && ullXsdt) {
        ucCheckSum = CheckSum(Root.data(), kRootSize);
        LOG_PROCESS_ERROR(ucCheckSum == 0);
        bRetCode = Parse(ullXsdt);
        LOG_PROCESS_ERROR(bRetCode);
    }
    ClearAll.Dismiss();
    return true;
}

bool CACPITable::Parse(uint64_t ullAddress) {
    std::array<uint8_t, kHeaderSize> Header{};
    bool bRetCode = m_rDriverHandler.ReadMemory(ullAddress, kHeaderSize, Header.data());
    LOG_PROCESS_ERROR(bRetCode);
    const uint32_t uLength = g_ReadField<uint32_t>(Header, kHeaderLength);
    LOG_PROCESS_ERROR(uLength >= kHeaderSize && uLength <= kMaximumTable);
    std::unique_ptr<uint8_t[]> pBuffer(new (std::nothrow) uint8_t[uLength]);
    LOG_PROCESS_ERROR(pBuffer);
    bRetCode = m_rDriverHandler.ReadMemory(ullAddress, uLength, pBuffer.get());
    LOG_PROCESS_ERROR(bRetCode);
    const uint8_t ucCheckSum = CheckSum(pBuffer.get(), uLength);
    LOG_PROCESS_ERROR(ucCheckSum == 0);

    const uint32_t uKey = g_SignatureKey(pBuffer.get());
    const std::span<const uint8_t> Table(pBuffer.get(), uLength);
    // Filed before it is followed: a table that points back at itself meets its own entry here and the walk ends.
    bool bNew = false;
    bRetCode = g_NoThrow([&] { bNew = m_TableList.try_emplace(uKey, CTable{std::move(pBuffer), uLength}).second; });
    LOG_PROCESS_ERROR(bRetCode);
    LOG_PROCESS_ERROR(bNew, "InsRet.second");

    if (uKey == g_TableKey("RSDT") || uKey == g_TableKey("XSDT")) {
        // Kept: the steps of both are counted in 32-bit entries; an XSDT's surplus steps find zeros beyond its end.
        const uint32_t uSteps = (uLength - static_cast<uint32_t>(kHeaderSize)) / 4;
        LOG_CHECK_ERROR(uSteps <= kMaximumEntries);
        for (uint32_t i = 0; i < std::min(uSteps, kMaximumEntries); ++i) {
            const uint64_t ullEntry = uKey == g_TableKey("RSDT")
                                          ? g_ReadField<uint32_t>(Table, kHeaderSize + size_t{i} * 4)
                                          : g_ReadField<uint64_t>(Table, kHeaderSize + size_t{i} * 8);
            bRetCode = ullEntry == 0 || Parse(ullEntry);
            LOG_CHECK_ERROR(bRetCode);
        }
    } else if (uKey == g_TableKey("FACP")) {
        for (const size_t uPointer : {kFacs, kDsdt}) {
            const uint32_t uAddress = g_ReadField<uint32_t>(Table, uPointer);
            bRetCode = uAddress == 0 || Parse(uAddress);  // an FACS has no header sum and normally fails here
            LOG_CHECK_ERROR(bRetCode);
        }
    } else if (std::ranges::find(kKnownTables, uKey) == std::end(kKnownTables)) {
        // Kept: the number is where the copy lies, not the signature.
        g_GetLog().WriteLog(kLogInformation, "Unknown ACPI table signature %X",
                            static_cast<uint32_t>(reinterpret_cast<uintptr_t>(Table.data())));
    }
    return true;
}

}  // namespace vxt
