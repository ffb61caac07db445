#include "acpi_report.h"

#include <algorithm>
#include <cstring>
#include <span>

#include "common/exit_code.h"
#include "common/text.h"
#include "firmware/acpi_table.h"

namespace vxtdiag {

using vxttools::CFailure;
using vxttools::CJson;
using vxttools::EExit;

namespace {

/// The header that every table begins with (ACPI 3.0, 5.2.6).
struct CField {
    size_t uOffset, uSize;
};
constexpr CField kRevision{8, 1}, kOemId{10, 6}, kOemTableId{16, 8}, kOemRevision{24, 4};

uint32_t _Number(std::span<const uint8_t> Table, CField Field) {
    uint32_t uValue = 0;
    for (size_t i = Field.uSize; i-- > 0;)
        if (Field.uOffset + i < Table.size()) uValue = uValue << 8 | Table[Field.uOffset + i];
    return uValue;
}

std::string _Text(std::span<const uint8_t> Table, CField Field) {
    if (Field.uOffset + Field.uSize > Table.size()) return "";
    return vxttools::g_Printable({reinterpret_cast<const char*>(Table.data()) + Field.uOffset, Field.uSize});
}

}  // namespace

std::string g_Signature(uint32_t uKey) {
    const char acKey[] = {static_cast<char>(uKey >> 24), static_cast<char>(uKey >> 16), static_cast<char>(uKey >> 8),
                          static_cast<char>(uKey)};
    return vxttools::g_Printable({acKey, sizeof acKey});
}

void g_AddAcpiTables(vxttools::CDocument& rDocument, const std::string& sSignature) {
    std::string sWanted = sSignature;
    std::ranges::transform(sWanted, sWanted.begin(),
                           [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; });
    rDocument.SetCsv("tables");
    CJson& rTables = rDocument["tables"] = CJson::array();
    vxttools::CTextTable Table{"", {"Table", ">Length", ">Revision", "OEM ID", "OEM table", ">OEM revision"}};
    for (const auto& [uKey, rTable] : vxt::g_GetACPITable().GetTables()) {
        const std::string sKey = g_Signature(uKey);
        if (!sWanted.empty() && sKey != sWanted) continue;
        const std::span<const uint8_t> Data(rTable.pData.get(), rTable.uSize);
        const CJson& rRow = rTables.emplace_back(
            CJson{{"id", "/acpi/" + sKey},
                  {"signature", sKey},
                  {"length", rTable.uSize},
                  {"revision", _Number(Data, kRevision)},
                  {"oem_id", _Text(Data, kOemId)},
                  {"oem_table_id", _Text(Data, kOemTableId)},
                  {"oem_revision", _Number(Data, kOemRevision)},
                  {"data", sWanted.empty() ? CJson(nullptr) : CJson(vxttools::g_HexString(Data))}});
        if (!sWanted.empty()) rDocument.SetText(vxttools::g_HexDump(Data));
        Table.Rows.push_back({sKey, std::to_string(rTable.uSize), vxttools::g_Cell(rRow["revision"]), rRow["oem_id"],
                              rRow["oem_table_id"], "0x" + vxttools::g_Hex(_Number(Data, kOemRevision), 8)});
    }
    if (!sWanted.empty() && rTables.empty())
        throw CFailure(EExit::kNoSuchDevice, "this machine has no ACPI table '" + sSignature + "'");
    if (sWanted.empty()) rDocument.AddTable(std::move(Table));
}

}  // namespace vxtdiag
